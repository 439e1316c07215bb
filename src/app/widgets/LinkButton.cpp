#include "LinkButton.h"

#include "Colours.h"

#include <QPainter>
#include <QStyleOptionButton>

namespace {

constexpr int focusMargin = 3;

}

LinkButton::LinkButton(const QUrl &address, QWidget *parent)
    : QPushButton(address.toString(), parent)
{
    setAutoDefault(false);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    setAccessibleDescription(QStringLiteral("Opens the web page of the game"));
}

QSize LinkButton::sizeHint() const { return fontMetrics().size(0, text()) + QSize(1, 2 * focusMargin); }

QSize LinkButton::minimumSizeHint() const { return { 1, sizeHint().height() }; }

bool LinkButton::hasHeightForWidth() const { return true; }

int LinkButton::heightForWidth(int width) const
{
    const QRect unlimited(0, 0, width, QWIDGETSIZE_MAX);
    return fontMetrics().boundingRect(unlimited, Qt::TextWrapAnywhere, text()).height() + 2 * focusMargin;
}

bool LinkButton::hitButton(const QPoint &position) const { return rect().contains(position); }

void LinkButton::paintEvent(QPaintEvent *)
{
    QStyleOptionButton option;
    initStyleOption(&option);
    QPainter painter(this);
    QFont underlined = font();
    underlined.setUnderline(true);
    painter.setFont(underlined);
    painter.setPen(Colours::link(palette()));
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWrapAnywhere, text());
    if (hasFocus() && (option.state & QStyle::State_KeyboardFocusChange))
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
}
