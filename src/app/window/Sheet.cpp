#include "Sheet.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "ScrollColumn.h"
#include "TextButton.h"
#include "TextLabel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int sheetWidth = 440;
constexpr int padding = 20;
/// How much of the screen's height a sheet may take before it scrolls.
constexpr double shareOfScreen = 0.9;

/// A thin line, a little darker or lighter than its background.
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

Sheet::Sheet(AppModel &model, const QString &title, int spacing, QWidget *parent)
    : QDialog(parent, Qt::Sheet)
    , m_noticeSource(model)
    , m_noticeBefore(model.notice)
    , m_column(new ScrollColumn(padding, spacing))
    , m_foot(new QVBoxLayout)
    , m_notice(new TextLabel(TextStyle::Callout, Ink::Secondary))
    , m_noticeRefresh(this, [this] { refreshNotice(); })
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::WindowModal);
    setWindowTitle(title);
    setFixedWidth(sheetWidth);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_column, 1);
    column()->setContentsMargins(padding, padding, padding, 0);
    m_foot->setContentsMargins(padding, spacing, padding, padding);
    m_foot->setSpacing(spacing);
    m_foot->addWidget(m_notice);
    layout->addLayout(m_foot);
    m_notice->hide();
    m_noticeRefresh.watch(model);
    MainWindow::addWaysOut(*this);
}

QVBoxLayout *Sheet::column() const { return m_column->column(); }

void Sheet::addDoneRow()
{
    auto *done = new TextButton(QStringLiteral("Done"));
    connect(done, &QPushButton::clicked, this, &QDialog::accept);
    auto *row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(done);
    m_foot->addLayout(row);
    done->setDefault(true);
    done->setFocus();
}

void Sheet::addDivider() { column()->addWidget(new Divider); }

void Sheet::addButtons(const QList<QPushButton *> &buttons)
{
    auto *row = new QHBoxLayout;
    for (QPushButton *button : buttons) {
        button->setAutoDefault(false);
        row->addWidget(button, 0, Qt::AlignLeft);
    }
    row->addStretch();
    column()->addLayout(row);
    m_buttonRows.append(row);
}

void Sheet::expectNotice()
{
    m_expectsNotice = true;
    m_noticeRefresh.schedule();
}

void Sheet::refreshNotice()
{
    const std::optional<QString> &notice = m_noticeSource.notice;
    m_notice->display(notice.value_or(QString()));
    m_notice->setVisible(notice && (m_expectsNotice || notice != m_noticeBefore));
}

void Sheet::arrange(int width)
{
    for (QBoxLayout *row : std::as_const(m_buttonRows)) {
        int needed = 0;
        for (int index = 0; index < row->count(); ++index) {
            if (const QWidget *button = row->itemAt(index)->widget())
                needed += button->sizeHint().width() + (index > 0 ? row->spacing() : 0);
        }
        row->setDirection(needed <= width ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    }
}

void Sheet::fitHeight()
{
    const int tallest = static_cast<int>(screen()->availableGeometry().height() * shareOfScreen);
    const int footHeight
        = m_foot->hasHeightForWidth() ? m_foot->heightForWidth(sheetWidth) : m_foot->sizeHint().height();
    setFixedHeight(std::min(m_column->heightFor(sheetWidth) + footHeight, tallest));
}

bool Sheet::event(QEvent *event)
{
    const bool handled = QDialog::event(event);
    // A text or the size of the desktop's font has changed.
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Polish) {
        // The column may have to share its width with a scroll bar.
        arrange(sheetWidth - 2 * padding - style()->pixelMetric(QStyle::PM_ScrollBarExtent));
        fitHeight();
    }
    return handled;
}
