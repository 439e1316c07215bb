#pragma once

#include <QPushButton>
#include <QUrl>

/// An address to be pressed, by mouse or by keyboard. Whoever makes it opens the page.
class LinkButton final : public QPushButton {
    Q_OBJECT

public:
    explicit LinkButton(const QUrl &address, QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &position) const override;
};
