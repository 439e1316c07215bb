#pragma once

#include "SteadyButton.h"

/// The one large button: filled with the desktop's accent colour.
class PlayButton final : public SteadyButton {
    Q_OBJECT

public:
    explicit PlayButton(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &position) const override;
};
