#include "PlayButton.h"

#include "Colours.h"
#include "Symbols.h"

#include <QApplication>
#include <QPainter>
#include <QStyleOptionButton>

namespace {

constexpr int buttonWidth = 260;
constexpr int buttonHeight = 56;
constexpr double labelPoints = 28;
constexpr double cornerRadius = 12;
constexpr int gap = 14;

QFont labelFont()
{
    QFont font = QApplication::font();
    font.setPointSizeF(labelPoints);
    font.setBold(true);
    // Keeps the label inside the button on desktops with a very high font resolution.
    if (const int tallest = buttonHeight * 4 / 5; QFontMetrics(font).height() > tallest)
        font.setPixelSize(tallest * QFontInfo(font).pixelSize() / QFontMetrics(font).height());
    return font;
}

}

PlayButton::PlayButton(QWidget *parent)
    : SteadyButton(QStringLiteral("Play"), parent)
{
    setFixedSize(buttonWidth, buttonHeight);
    setAttribute(Qt::WA_Hover);
}

bool PlayButton::hitButton(const QPoint &position) const { return rect().contains(position); }

void PlayButton::paintEvent(QPaintEvent *)
{
    QStyleOptionButton option;
    initStyleOption(&option);

    const QColor ink = Colours::onAccent(palette());
    QColor fill = Colours::accent(palette());
    if (isDown())
        fill = fill.darker(125);
    else if (option.state & QStyle::State_MouseOver)
        fill = fill.darker(110);

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);

    painter.setFont(labelFont());
    const QFontMetrics metrics = painter.fontMetrics();
    const int signSize = metrics.capHeight();
    const int labelWidth = metrics.horizontalAdvance(text());
    QRectF sign(0, 0, signSize * 0.92, signSize);
    sign.moveCenter(QRectF(rect()).center());
    sign.moveLeft((width() - (sign.width() + gap + labelWidth)) / 2);
    painter.fillPath(Symbols::play(sign), ink);
    painter.setPen(ink);
    // Centres the capital letter vertically, like the triangle.
    const double baseline = sign.center().y() + signSize / 2.0;
    painter.drawText(QPointF(sign.right() + gap, baseline), text());

    const bool showsFocus = hasFocus() && (option.state & QStyle::State_KeyboardFocusChange);
    if (showsFocus) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(ink, 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(4, 4, -4, -4), cornerRadius - 3, cornerRadius - 3);
    }
}
