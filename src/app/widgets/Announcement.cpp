#include "Announcement.h"

#include <QAccessible>
#include <QString>
#include <QWidget>

namespace {

void send(QWidget &speaker, QAccessible::Event type)
{
    QAccessibleEvent event(&speaker, type);
    QAccessible::updateAccessibility(&event);
}

}

#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)

void Announcement::polite(QWidget &speaker, const QString &text)
{
    QAccessibleAnnouncementEvent event(&speaker, text);
    event.setPoliteness(QAccessible::AnnouncementPoliteness::Polite);
    QAccessible::updateAccessibility(&event);
}

void Announcement::alert(QWidget &speaker, const QString &text)
{
    send(speaker, QAccessible::Alert);
    QAccessibleAnnouncementEvent event(&speaker, text);
    event.setPoliteness(QAccessible::AnnouncementPoliteness::Assertive);
    QAccessible::updateAccessibility(&event);
}

#else

// Without announcements, the name of what shows the text is the nearest thing that screen readers follow.
void Announcement::polite(QWidget &speaker, const QString & /*text*/)
{
    send(speaker, QAccessible::NameChanged);
}

void Announcement::alert(QWidget &speaker, const QString & /*text*/) { send(speaker, QAccessible::Alert); }

#endif
