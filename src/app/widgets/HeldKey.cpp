#include "HeldKey.h"

#include <QCoreApplication>
#include <QKeyEvent>

HeldKey::HeldKey(QWidget *area)
    : QObject(area)
    , m_area(area)
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool HeldKey::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyRelease) {
        const auto *release = static_cast<const QKeyEvent *>(event);
        m_releasedKey = release->key();
        m_releaseTime = release->timestamp();
    } else if (event->type() == QEvent::KeyPress) {
        const auto *press = static_cast<const QKeyEvent *>(event);
        const bool isRepetition = press->isAutoRepeat()
            || (m_releaseTime != 0 && press->key() == m_releasedKey && press->timestamp() == m_releaseTime);
        const auto *widget = qobject_cast<const QWidget *>(watched);
        if (isRepetition && widget && m_area->isAncestorOf(widget)) {
            event->accept();
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}
