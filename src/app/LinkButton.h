#pragma once

#include <QPushButton>
#include <QUrl>

/// An address to be pressed, by mouse or by keyboard. Whoever makes it opens the page.
class LinkButton final : public QPushButton {
    Q_OBJECT

public:
    explicit LinkButton(const QUrl &address, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    /// Where it is too long for one line it takes more.
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &position) const override;
};
