#include "SegmentedChoice.h"

#include "FocusRing.h"
#include "Measures.h"
#include "Surface.h"
#include "Tokens.h"
#include "TypeScale.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPainter>
#include <QRadioButton>

#include <algorithm>

namespace {

constexpr int sidePadding = 16;
/// Above and below a label that is too large for the usual height.
constexpr int leastAir = 4;

/// One entry: a radio button in everything but its looks.
class Segment final : public QRadioButton {
public:
    explicit Segment(const QString &text)
        : QRadioButton(text)
    {
        setAttribute(Qt::WA_Hover);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        // Where the ring of the keyboard focus is round.
        setProperty(FocusRing::radiusProperty, Measures::segmentRadius);
    }

    QSize sizeHint() const override
    {
        // Whether it is chosen or not, so that nothing moves when the choice changes.
        const QSize label = QFontMetrics(chosenFont()).size(Qt::TextShowMnemonic, text());
        constexpr int usualHeight = Measures::buttonHeight - 2 * Measures::segmentInset;
        return { label.width() + 2 * sidePadding, std::max(usualHeight, label.height() + 2 * leastAir) };
    }

    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint &position) const override { return rect().contains(position); }

    void paintEvent(QPaintEvent *) override
    {
        const Tokens &tokens = Tokens::of(*this);
        QPainter painter(this);
        QColor ink = isEnabled() ? tokens.ink : tokens.disabled;
        if (isChecked()) {
            Surface::paint(painter, rect(), Measures::segmentRadius, tokens.accent, Qt::transparent);
            painter.setFont(chosenFont());
            ink = tokens.onAccent;
        } else if (isEnabled() && (underMouse() || isDown())) {
            Surface::paint(painter, rect(), Measures::segmentRadius,
                           isDown() ? tokens.controlPressed : tokens.control, Qt::transparent);
        }
        painter.setPen(ink);
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
    }

private:
    static QFont chosenFont() { return TypeScale::font(TextStyle::Headline); }
};

}

SegmentedChoice::SegmentedChoice(const QStringList &entries, int chosenIndex, QWidget *parent)
    : QWidget(parent)
    , m_group(new QButtonGroup(this))
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(Measures::segmentInset, Measures::segmentInset, Measures::segmentInset,
                            Measures::segmentInset);
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
    const Tokens &tokens = Tokens::of(*this);
    QPainter painter(this);
    Surface::paint(painter, rect(), Measures::buttonRadius, tokens.segmentTrack, tokens.segmentEdge);
}
