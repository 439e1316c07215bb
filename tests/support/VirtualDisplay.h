#pragma once

#include <QByteArray>
#include <QProcess>

#include <unistd.h>

/// A display of the test's own, without a screen: runs Xvfb and points DISPLAY at it for as long as this
/// object lives.
class VirtualDisplay final {
public:
    VirtualDisplay()
        : m_before(qgetenv("DISPLAY"))
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        // Xvfb itself picks a free number and prints it on standard output once it accepts connections.
        m_process.start(QStringLiteral("Xvfb"),
                        QStringLiteral("-displayfd 1 -screen 0 1280x800x24 -nolisten tcp").split(u' '));
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(20000))
                qFatal("Xvfb did not start: %s", qPrintable(m_process.errorString()));
        }
        qputenv("DISPLAY", ":" + m_process.readLine().trimmed());
    }

    ~VirtualDisplay()
    {
        m_before.isNull() ? qunsetenv("DISPLAY") : qputenv("DISPLAY", m_before);
        m_process.terminate();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
    QByteArray m_before;
};
