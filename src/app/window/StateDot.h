#pragma once

#include "StateFace.h"

#include <QWidget>

/// The coloured dot before the state's label. The label says the same in words.
class StateDot final : public QWidget {
    Q_OBJECT

public:
    explicit StateDot(QWidget *parent = nullptr);

    void display(StateFace::Dot dot);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    StateFace::Dot m_dot = StateFace::Dot::Grey;
};
