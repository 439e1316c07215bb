#pragma once

#include "ActionButton.h"

/// Stands in the place of Play while the game starts or runs.
class StopButton final : public ActionButton {
    Q_OBJECT

public:
    explicit StopButton(QWidget *parent = nullptr);

private:
    Inks inks(const Tokens &tokens) const override;
    QPainterPath sign(double capHeight) const override;
};
