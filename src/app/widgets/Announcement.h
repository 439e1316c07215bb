#pragma once

class QString;
class QWidget;

/// What screen readers are told without being asked, by the widget that shows it. Main thread.
namespace Announcement {

/// Something that can wait until the screen reader is silent.
void polite(QWidget &speaker, const QString &text);

/// Something that went wrong.
void alert(QWidget &speaker, const QString &text);

}
