#pragma once

#include <QGraphicsEffect>
#include <QPixmap>

#include <functional>

/// Shows what a widget looked like, ever fainter, over what it looks like now. The widget takes input at
/// once, and screen readers notice nothing. The widget owns it; it destroys itself. Main thread.
class CrossFade final : public QGraphicsEffect {
    Q_OBJECT

public:
    /// Calls `change`, which changes what `widget` shows. At once if the widget is not visible or if the
    /// player wants no motion.
    static void during(QWidget &widget, const std::function<void()> &change);

protected:
    void draw(QPainter *painter) override;

private:
    explicit CrossFade(const QPixmap &before);

    const QPixmap m_before;
    double m_opacity = 1;
};
