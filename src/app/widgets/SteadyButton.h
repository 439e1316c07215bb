#pragma once

#include "TextButton.h"

/// A button that may be replaced by another one as soon as it is pressed. Neither the second half of a double
/// click nor a held-down key presses its replacement.
class SteadyButton : public TextButton {
    Q_OBJECT

public:
    explicit SteadyButton(const QString &text, QWidget *parent = nullptr);

protected:
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
};
