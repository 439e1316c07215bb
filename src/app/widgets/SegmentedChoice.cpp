#include "SegmentedChoice.h"

#include "Colours.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPainter>
#include <QRadioButton>
#include <QStyleOptionButton>

namespace {

constexpr double cornerRadius = 6;
constexpr int inset = 2;
constexpr int sidePadding = 16;
constexpr int topPadding = 5;

/// The background behind the segments.
QColor track(const QPalette &palette)
{
    QColor tint = palette.color(QPalette::WindowText);
    tint.setAlphaF(0.12F);
    return Colours::over(tint, palette.color(QPalette::Window));
}

/// One entry: a radio button in everything but its looks.
class Segment final : public QRadioButton {
public:
    explicit Segment(const QString &text)
        : QRadioButton(text)
    {
        setAttribute(Qt::WA_Hover);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }

    QSize sizeHint() const override
    {
        const QSize label = fontMetrics().size(Qt::TextShowMnemonic, text());
        return { label.width() + 2 * sidePadding, label.height() + 2 * topPadding };
    }

    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint &position) const override { return rect().contains(position); }

    void paintEvent(QPaintEvent *) override
    {
        QStyleOptionButton option;
        initStyleOption(&option);
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);

        QColor ink = Colours::readable(palette().color(QPalette::WindowText), track(palette()),
                                       Colours::textContrast);
        if (isChecked()) {
            painter.setBrush(Colours::accent(palette()));
            painter.drawRoundedRect(rect(), cornerRadius - inset, cornerRadius - inset);
            ink = Colours::onAccent(palette());
        }
        if (hasFocus() && (option.state & QStyle::State_KeyboardFocusChange)) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(ink, 1.5));
            painter.drawRoundedRect(QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5), 2, 2);
        }
        painter.setPen(ink);
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
    }
};

}

SegmentedChoice::SegmentedChoice(const QStringList &entries, int chosenIndex, QWidget *parent)
    : QWidget(parent)
    , m_group(new QButtonGroup(this))
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(inset, inset, inset, inset);
    row->setSpacing(0);
    for (int index = 0; index < entries.size(); ++index) {
        auto *segment = new Segment(entries.at(index));
        segment->setChecked(index == chosenIndex);
        m_group->addButton(segment, index);
        row->addWidget(segment, 1);
    }
    connect(m_group, &QButtonGroup::idToggled, this, [this](int index, bool isOn) {
        if (isOn)
            Q_EMIT chosen(index);
    });
}

void SegmentedChoice::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(track(palette()));
    painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);
}
