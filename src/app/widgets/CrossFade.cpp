#include "CrossFade.h"

#include "Motion.h"

#include <QPainter>
#include <QVariantAnimation>
#include <QWidget>

void CrossFade::during(QWidget &widget, const std::function<void()> &change)
{
    const int duration = motionDuration(widget);
    if (!widget.isVisible() || duration <= 0) {
        change();
        return;
    }

    auto *fade = new CrossFade(widget.grab());
    change();
    widget.setGraphicsEffect(fade);

    auto *animation = new QVariantAnimation(fade);
    animation->setStartValue(1.0);
    animation->setEndValue(0.0);
    animation->setDuration(duration);
    connect(animation, &QVariantAnimation::valueChanged, fade, [fade](const QVariant &opacity) {
        fade->m_opacity = opacity.toDouble();
        fade->update();
    });
    // Deferred: this deletes the animation too.
    connect(
        animation, &QVariantAnimation::finished, fade, [&widget] { widget.setGraphicsEffect(nullptr); },
        Qt::QueuedConnection);
    animation->start();
}

CrossFade::CrossFade(const QPixmap &before)
    : m_before(before)
{
}

void CrossFade::draw(QPainter *painter)
{
    QPoint corner;
    // Qt crashes if the painter goes on after it has drawn the widget itself.
    const QPixmap now = sourcePixmap(Qt::LogicalCoordinates, &corner);
    painter->drawPixmap(corner, now);
    painter->setOpacity(m_opacity);
    painter->drawPixmap(0, 0, m_before);
}
