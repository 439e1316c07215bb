#pragma once

#include <QPushButton>
#include <QUrl>

/// A link that shows its address and can be clicked or pressed by keyboard. Its owner opens the page.
class LinkButton final : public QPushButton {
    Q_OBJECT

public:
    explicit LinkButton(const QUrl &address, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    /// An address that is too long for one line wraps.
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &position) const override;
};
