#include "TextButton.h"

#include "Measures.h"

#include <algorithm>

TextButton::TextButton(const QString &text, QWidget *parent)
    : QPushButton(text, parent)
{
}

QSize TextButton::sizeHint() const
{
    const QSize usual = QPushButton::sizeHint();
    const int needed = fontMetrics().size(Qt::TextShowMnemonic, text()).width() + 2 * Measures::buttonPadding;
    return { std::max({ usual.width(), needed, Measures::buttonWidth }),
             std::max(usual.height(), Measures::buttonHeight) };
}

QSize TextButton::minimumSizeHint() const { return sizeHint(); }
