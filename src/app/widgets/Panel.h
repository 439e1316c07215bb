#pragma once

#include <QColor>
#include <QWidget>

/// A background with rounded corners, painted over whatever is behind it.
class Panel final : public QWidget {
    Q_OBJECT

public:
    Panel(const QColor &ground, double cornerRadius, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QColor m_ground;
    const double m_cornerRadius = 0;
};
