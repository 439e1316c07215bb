#include "CoveredWindow.h"

#include <QApplication>

#if QT_CONFIG(xcb)
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#endif

#if QT_CONFIG(xcb)

namespace {

quint32 atom(xcb_connection_t *connection, const char *name)
{
    const auto question = xcb_intern_atom(connection, 0, static_cast<quint16>(std::strlen(name)), name);
    xcb_intern_atom_reply_t *answer = xcb_intern_atom_reply(connection, question, nullptr);
    const quint32 number = answer ? answer->atom : 0;
    std::free(answer);
    return number;
}

}

CoveredWindow::CoveredWindow(QWidget *window)
    : QObject(window)
    , m_window(window)
{
    // On other platforms than X11 there is no such interface, or it has no connection.
    const auto *display = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t *connection = display ? display->connection() : nullptr;
    if (!connection)
        return;
    m_protocols = atom(connection, "WM_PROTOCOLS");
    m_deleteWindow = atom(connection, "WM_DELETE_WINDOW");
    qApp->installNativeEventFilter(this);
}

bool CoveredWindow::nativeEventFilter(const QByteArray & /*eventType*/, void *message, qintptr * /*result*/)
{
    constexpr int sentByOthers = 0x80; // a flag in the event's type
    constexpr int numbersOf32Bits = 32;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & ~sentByOthers) != XCB_CLIENT_MESSAGE)
        return false;
    const auto *request = static_cast<const xcb_client_message_event_t *>(message);
    const bool asksToClose = request->format == numbersOf32Bits && request->type == m_protocols
        && request->data.data32[0] == m_deleteWindow && request->window == m_window->internalWinId();
    if (!asksToClose || !QApplication::activeModalWidget())
        return false;
    // Queued, so that the window is not closed from within a native event filter.
    QMetaObject::invokeMethod(m_window, &QWidget::close, Qt::QueuedConnection);
    return true;
}

#else

CoveredWindow::CoveredWindow(QWidget *window)
    : QObject(window)
    , m_window(window)
{
}

bool CoveredWindow::nativeEventFilter(const QByteArray &, void *, qintptr *) { return false; }

#endif
