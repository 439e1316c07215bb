#pragma once

#include "Measures.h"

#include <QStyle>
#include <QWidget>

#include <algorithm>

/// How long a change of `widget` may take, in milliseconds; 0 if the player wants no motion.
inline int motionDuration(const QWidget &widget)
{
    const int wanted = widget.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &widget);
    return std::min(wanted, Measures::longestMotion);
}
