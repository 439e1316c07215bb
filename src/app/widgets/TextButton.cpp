#include "TextButton.h"

#include <algorithm>

namespace {

constexpr int air = 14;
constexpr int leastHeight = 28;

}

TextButton::TextButton(const QString &text, QWidget *parent)
    : QPushButton(text, parent)
{
}

QSize TextButton::sizeHint() const
{
    const QSize usual = QPushButton::sizeHint();
    const int needed = fontMetrics().size(Qt::TextShowMnemonic, text()).width() + 2 * air;
    return { std::max(usual.width(), needed), std::max(usual.height(), leastHeight) };
}

QSize TextButton::minimumSizeHint() const { return sizeHint(); }
