#include "LinkButton.h"

#include "FocusRing.h"
#include "Tokens.h"

#include <QPainter>

namespace {

/// Above and below the address.
constexpr int air = 3;
/// Of the ring of the keyboard focus.
constexpr double cornerRadius = 4;

}

LinkButton::LinkButton(const QUrl &address, QWidget *parent)
    : QPushButton(address.toString(), parent)
{
    setAutoDefault(false);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    setProperty(FocusRing::radiusProperty, cornerRadius);
    setAccessibleDescription(QStringLiteral("Opens the web page of the game"));
}

QSize LinkButton::sizeHint() const { return fontMetrics().size(0, text()) + QSize(1, 2 * air); }

QSize LinkButton::minimumSizeHint() const { return { 1, sizeHint().height() }; }

bool LinkButton::hasHeightForWidth() const { return true; }

int LinkButton::heightForWidth(int width) const
{
    const QRect unlimited(0, 0, width, QWIDGETSIZE_MAX);
    return fontMetrics().boundingRect(unlimited, Qt::TextWrapAnywhere, text()).height() + 2 * air;
}

bool LinkButton::hitButton(const QPoint &position) const { return rect().contains(position); }

void LinkButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QFont underlined = font();
    underlined.setUnderline(true);
    painter.setFont(underlined);
    painter.setPen(Tokens::of(*this).link);
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWrapAnywhere, text());
}
