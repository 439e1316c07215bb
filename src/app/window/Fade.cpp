#include "Fade.h"

#include "Motion.h"

#include <QPainter>
#include <QVariantAnimation>

void Fade::from(QWidget &window)
{
    delete window.findChild<Fade *>(QString(), Qt::FindDirectChildrenOnly);
    const int duration = motionDuration(window);
    if (duration > 0 && window.isVisible() && !window.isMinimized())
        new Fade(window, duration);
}

Fade::Fade(QWidget &window, int duration)
    : QWidget(&window)
    , m_before(window.grab())
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setGeometry(window.rect());
    auto *animation = new QVariantAnimation(this);
    animation->setStartValue(1.0);
    animation->setEndValue(0.0);
    animation->setDuration(duration);
    animation->setEasingCurve(QEasingCurve::OutQuad);
    connect(animation, &QVariantAnimation::valueChanged, this, [this](const QVariant &opacity) {
        m_opacity = opacity.toDouble();
        raise(); // over what has appeared since
        update();
    });
    connect(animation, &QVariantAnimation::finished, this, &QObject::deleteLater);
    show();
    animation->start();
}

void Fade::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setOpacity(m_opacity);
    painter.drawPixmap(0, 0, m_before);
}
