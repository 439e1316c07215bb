#include "TextLabel.h"

#include "HarmlessText.h"
#include "Shades.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>

namespace {

/// Longer lines are hard to read: on a whole screen the text stays a column.
constexpr int charactersInLine = 110;

}

TextLabel::TextLabel(TextStyle style, Ink ink, QWidget *parent)
    : QLabel(parent)
    , m_style(style)
    , m_ink(ink)
{
    // Words come from a downloaded game: nothing in them is markup.
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setAlignment(Qt::AlignLeft | Qt::AlignTop);
    setFont(TypeScale::font(style));
}

void TextLabel::display(const QString &text)
{
    const QString shown = harmlessText(text);
    if (shown != this->text())
        setText(shown);
}

void TextLabel::reserveLines(int lines)
{
    m_reservedLines = lines;
    updateGeometry();
}

QSize TextLabel::sizeHint() const
{
    const int width = std::min(fontMetrics().size(0, text()).width() + 1, widestLine());
    return { width, heightForWidth(width) };
}

QSize TextLabel::minimumSizeHint() const { return { 1, m_reservedLines * fontMetrics().lineSpacing() }; }

int TextLabel::heightForWidth(int width) const
{
    const QRect room(0, 0, std::min(width, widestLine()), QWIDGETSIZE_MAX);
    const int wanted = fontMetrics().boundingRect(room, flags(), text()).height();
    return std::max(wanted, m_reservedLines * fontMetrics().lineSpacing());
}

void TextLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::ApplicationFontChange)
        setFont(TypeScale::font(m_style));
}

void TextLabel::paintEvent(QPaintEvent *)
{
    QRect room = rect();
    if (room.width() > widestLine()) {
        const int spare = room.width() - widestLine();
        if (alignment() & Qt::AlignHCenter)
            room.adjust(spare / 2, 0, spare / 2 - spare, 0);
        else
            room.adjust(0, 0, -spare, 0);
    }
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(colour());
    painter.drawText(room, flags(), text());
}

QColor TextLabel::colour() const
{
    switch (m_ink) {
    case Ink::Secondary:
        return Shades::secondary(palette());
    case Ink::Failure:
        return Shades::failure(palette());
    case Ink::Primary:
        break;
    }
    return palette().color(QPalette::WindowText);
}

int TextLabel::flags() const
{
    return static_cast<int>(alignment()) | Qt::TextWordWrap | Qt::TextWrapAnywhere;
}

int TextLabel::widestLine() const { return fontMetrics().averageCharWidth() * charactersInLine; }
