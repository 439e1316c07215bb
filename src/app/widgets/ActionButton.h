#pragma once

#include "SteadyButton.h"

#include <QColor>
#include <QFont>
#include <QPainterPath>

struct Tokens;

/// What the window's large buttons have in common: a sign and a label, centred together on a rounded ground.
/// Looks the same on every desktop.
class ActionButton : public SteadyButton {
    Q_OBJECT

protected:
    /// Lengths in device-independent pixels.
    struct Shape {
        QSize size;
        double cornerRadius = 0;
        double labelPoints = 0;
        QFont::Weight labelWeight = QFont::Bold;
        int gap = 0;
    };
    struct Inks {
        QColor ground;
        QColor edge;
        QColor sign;
        QColor label;
    };

    ActionButton(const QString &text, const Shape &shape, QWidget *parent);

    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &position) const override;

private:
    virtual Inks inks(const Tokens &tokens) const = 0;
    /// The sign beside a label whose capital letters are `capHeight` high. Only its size counts, not its
    /// place.
    virtual QPainterPath sign(double capHeight) const = 0;

    /// As large as the desktop's text asks for, but never so large that a letter would be cut off.
    QFont labelFont() const;

    const Shape m_shape;
};
