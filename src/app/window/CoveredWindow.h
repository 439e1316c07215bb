#pragma once

#include <QAbstractNativeEventFilter>
#include <QWidget>

/// Lets the window manager close a window that a modal dialog covers. On X11 Qt drops that request. The
/// window owns it. Main thread.
class CoveredWindow final : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

public:
    explicit CoveredWindow(QWidget *window);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    // Unused if Qt was built without X11.
    [[maybe_unused]] QWidget *const m_window;
    /// The X11 atoms of the request; 0 on other platforms.
    [[maybe_unused]] quint32 m_protocols = 0;
    [[maybe_unused]] quint32 m_deleteWindow = 0;
};
