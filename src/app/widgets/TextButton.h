#pragma once

#include <QPushButton>

/// A push button with padding around its label, which not every style provides.
class TextButton : public QPushButton {
    Q_OBJECT

public:
    explicit TextButton(const QString &text = QString(), QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
};
