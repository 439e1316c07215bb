#include "TextLabel.h"

#include "HarmlessText.h"
#include "Tokens.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <cmath>

namespace {

/// Longer lines are hard to read, so in a maximised window the text stays a column.
constexpr int charactersInLine = 110;

/// Nobody reads more than this in a label, and it would take long to lay out.
constexpr qsizetype mostCharacters = 3000;
constexpr char16_t ellipsis = 0x2026;

}

TextLabel::TextLabel(TextStyle style, Ink ink, QWidget *parent)
    : QLabel(parent)
    , m_style(style)
    , m_ink(ink)
    , m_font(TypeScale::font(style))
{
    // Texts may come from a downloaded game: never interpret them as markup.
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setAlignment(Qt::AlignLeft | Qt::AlignTop);
}

void TextLabel::display(const QString &text)
{
    QString shown = harmlessText(text.left(mostCharacters));
    if (text.size() > mostCharacters)
        shown += QChar(ellipsis);
    if (shown == this->text())
        return;
    forgetLayout();
    setText(shown);
}

void TextLabel::reserveLines(int lines)
{
    m_reservedLines = lines;
    updateGeometry();
}

QSize TextLabel::sizeHint() const
{
    const int width = std::min(QFontMetrics(m_font).size(0, text()).width() + 1, widestLine());
    return { width, heightForWidth(width) };
}

QSize TextLabel::minimumSizeHint() const
{
    return { 1, m_reservedLines * QFontMetrics(m_font).lineSpacing() };
}

int TextLabel::heightForWidth(int width) const
{
    const int wanted = static_cast<int>(std::ceil(layOut(width)));
    return std::max(wanted, m_reservedLines * QFontMetrics(m_font).lineSpacing());
}

void TextLabel::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange) {
        m_font = TypeScale::font(m_style);
        forgetLayout();
    } else if (event->type() == QEvent::LayoutDirectionChange) {
        forgetLayout();
    }
    QLabel::changeEvent(event);
}

void TextLabel::paintEvent(QPaintEvent *)
{
    const double textHeight = layOut(width());
    const int spareWidth = std::max(0, width() - widestLine());
    double left = 0;
    if (const Qt::Alignment side = visibleAlignment(); side & Qt::AlignHCenter)
        left = spareWidth / 2.0;
    else if (side & Qt::AlignRight)
        left = spareWidth;
    const double top = alignment() & Qt::AlignBottom ? height() - textHeight : 0;
    QPainter painter(this);
    painter.setPen(colour());
    m_layout.draw(&painter, { left, top });
}

QColor TextLabel::colour() const
{
    const Tokens &tokens = Tokens::of(*this);
    if (!isEnabled())
        return tokens.disabled;
    switch (m_ink) {
    case Ink::Secondary:
        return tokens.secondary;
    case Ink::Failure:
        return tokens.failure;
    case Ink::Primary:
        break;
    }
    return tokens.ink;
}

Qt::Alignment TextLabel::visibleAlignment() const
{
    return QStyle::visualAlignment(layoutDirection(), alignment());
}

int TextLabel::widestLine() const { return QFontMetrics(m_font).averageCharWidth() * charactersInLine; }

double TextLabel::layOut(int width) const
{
    const int lineWidth = std::min(width, widestLine());
    if (lineWidth == m_laidOutWidth)
        return m_height;

    // QLabel's own layout never breaks a word, and clips one that is wider than the window.
    QTextOption option((visibleAlignment() & Qt::AlignHorizontal_Mask) | Qt::AlignAbsolute);
    // By the text's own direction, not by the desktop's.
    option.setTextDirection(Qt::LayoutDirectionAuto);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_layout.setFont(m_font);
    m_layout.setText(QString(text()).replace(u'\n', QChar::LineSeparator));
    m_layout.setTextOption(option);
    m_laidOutWidth = lineWidth;
    m_height = 0;
    m_layout.beginLayout();
    for (QTextLine line = m_layout.createLine(); line.isValid(); line = m_layout.createLine()) {
        line.setLineWidth(lineWidth);
        line.setPosition({ 0, m_height });
        m_height += line.height();
    }
    m_layout.endLayout();
    return m_height;
}

void TextLabel::forgetLayout() { m_laidOutWidth = -1; }
