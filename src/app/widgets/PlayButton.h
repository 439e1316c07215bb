#pragma once

#include "ActionButton.h"

/// The one button that matters most: filled with the accent colour.
class PlayButton final : public ActionButton {
    Q_OBJECT

public:
    explicit PlayButton(QWidget *parent = nullptr);

private:
    Inks inks(const Tokens &tokens) const override;
    QPainterPath sign(double capHeight) const override;
};
