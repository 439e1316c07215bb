#pragma once

#include <QPushButton>
#include <QUrl>

/// An address that opens in the desktop's browser when it is pressed, by mouse or by keyboard.
class LinkButton final : public QPushButton {
    Q_OBJECT

public:
    explicit LinkButton(const QUrl &address, QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &position) const override;
};
