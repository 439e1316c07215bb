#include "Sheet.h"

#include "ScrollColumn.h"
#include "TextButton.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int sheetWidth = 440;
constexpr int padding = 20;
/// How much of the screen's height a sheet may take before it scrolls.
constexpr double shareOfScreen = 0.9;

/// A thin line, a little darker or lighter than its ground.
class Divider final : public QWidget {
public:
    Divider() { setFixedHeight(1); }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QColor colour = palette().color(QPalette::WindowText);
        colour.setAlphaF(0.2F);
        QPainter(this).fillRect(rect(), colour);
    }
};

}

Sheet::Sheet(const QString &title, int spacing, QWidget *parent)
    : QDialog(parent, Qt::Sheet)
    , m_column(new ScrollColumn(padding, spacing))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::WindowModal);
    setWindowTitle(title);
    setFixedWidth(sheetWidth);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_column);
}

QVBoxLayout *Sheet::column() const { return m_column->column(); }

void Sheet::addDoneRow()
{
    auto *done = new TextButton(QStringLiteral("Done"));
    connect(done, &QPushButton::clicked, this, &QDialog::accept);
    auto *row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(done);
    column()->addLayout(row);
    done->setDefault(true);
    done->setFocus();
}

void Sheet::addDivider() { column()->addWidget(new Divider); }

void Sheet::addButtons(const QList<QPushButton *> &buttons)
{
    auto *row = new QHBoxLayout;
    for (QPushButton *button : buttons) {
        button->setAutoDefault(false);
        row->addWidget(button);
    }
    row->addStretch();
    column()->addLayout(row);
}

void Sheet::fitHeight()
{
    const int tallest = static_cast<int>(screen()->availableGeometry().height() * shareOfScreen);
    setFixedHeight(std::min(m_column->heightFor(sheetWidth), tallest));
}

bool Sheet::event(QEvent *event)
{
    const bool handled = QDialog::event(event);
    // Another text, or another size of the desktop's font.
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Polish)
        fitHeight();
    return handled;
}
