#pragma once

#include <QAbstractNativeEventFilter>
#include <QWidget>

/// Lets a window be closed by its window manager while a dialog covers it. Under X11 Qt drops that request.
/// The window owns it. Main thread.
class CoveredWindow final : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit CoveredWindow(QWidget *window);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    // Where Qt was built without X11 there is no such request.
    [[maybe_unused]] QWidget *const m_window;
    /// X11's names for the request, as numbers; 0 where the display is another.
    [[maybe_unused]] quint32 m_protocols = 0;
    [[maybe_unused]] quint32 m_deleteWindow = 0;
};
