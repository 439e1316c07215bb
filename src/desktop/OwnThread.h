#pragma once

#include <QObject>
#include <QThread>

/// Deletes `object` at once, or later if this is not its thread: a thread that has just connected to the bus
/// may be the last owner.
inline void destroyOnItsThread(QObject *object)
{
    if (object->thread() == QThread::currentThread())
        delete object;
    else
        object->deleteLater();
}
