#include "ProgressBlock.h"

#include "Announcement.h"
#include "SteadyButton.h"
#include "TextLabel.h"

#include <QProgressBar>
#include <QVBoxLayout>

namespace {

constexpr int blockWidth = 360;
constexpr int blockSpacing = 6;
/// The longest step text wraps to two lines.
constexpr int stepLines = 2;
/// Fine enough for every pixel of the bar.
constexpr int barSteps = 1000;

}

ProgressBlock::ProgressBlock(QWidget *parent)
    : QWidget(parent)
    , m_step(new TextLabel(TextStyle::Callout))
    , m_bar(new QProgressBar)
    , m_detail(new TextLabel(TextStyle::Caption, Ink::Secondary))
{
    setFixedWidth(blockWidth);
    m_step->setAlignment(Qt::AlignHCenter | Qt::AlignBottom);
    m_step->reserveLines(stepLines);
    m_detail->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_bar->setTextVisible(false);
    m_bar->setAccessibleName(QStringLiteral("Progress"));
    auto *cancel = new SteadyButton(QStringLiteral("Cancel"));
    connect(cancel, &QPushButton::clicked, this, &ProgressBlock::cancelPressed);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(blockSpacing);
    column->addWidget(m_step);
    column->addWidget(m_bar);
    column->addWidget(m_detail);
    column->addWidget(cancel, 0, Qt::AlignHCenter);
}

void ProgressBlock::display(const QString &step, std::optional<double> fraction, const QString &detail)
{
    m_step->display(step);
    m_detail->display(detail);
    if (fraction) {
        m_bar->setRange(0, barSteps);
        m_bar->setValue(static_cast<int>(*fraction * barSteps));
    } else if (m_bar->maximum() != 0) {
        m_bar->setRange(0, 0);
    }
}

void ProgressBlock::displayRemainingTime(const QString &text)
{
    if (text == m_bar->toolTip())
        return;
    m_bar->setToolTip(text);
    m_bar->setAccessibleDescription(text);
}

void ProgressBlock::announceStep() { Announcement::polite(*m_step, m_step->text()); }
