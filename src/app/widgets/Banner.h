#pragma once

#include <QWidget>

/// The picture at the top of the window: a running figure on a bright background.
class Banner final : public QWidget {
    Q_OBJECT

public:
    explicit Banner(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
