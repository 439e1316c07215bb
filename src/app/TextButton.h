#pragma once

#include <QPushButton>

/// The desktop's own push button with some air around its label, which not every style leaves there.
class TextButton : public QPushButton {
    Q_OBJECT

public:
    explicit TextButton(const QString &text = QString(), QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
};
