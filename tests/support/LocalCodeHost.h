#pragma once

#include "CodeHost.h"

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUrl>

/// Runs the local stand-in for the code-hosting service as a process of its own and points the code under
/// test at it, for as long as this object lives. Main thread.
class LocalCodeHost final {
public:
    /// Serves the folder `game` as the branch archive and `engine` as every official build.
    LocalCodeHost(const QString &game, const QString &engine, const QStringList &options = {})
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(TOOLS_FOLDER "/code-host"),
                        QStringList { QStringLiteral("--game"), game, QStringLiteral("--engine"), engine,
                                      QStringLiteral("--until-stdin-closes") }
                            + options);
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(20000))
                qFatal("The local code host did not start: %s", qPrintable(m_process.errorString()));
        }
        const QByteArray line = m_process.readLine().trimmed();
        const QByteArray beginning = "Serving on ";
        if (!line.startsWith(beginning))
            qFatal("The local code host said: %s", line.constData());
        m_address = QUrl(QString::fromUtf8(line.mid(beginning.size())));
        CodeHost::setAddress(m_address);
    }

    ~LocalCodeHost()
    {
        CodeHost::setAddress(CodeHost::official());
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(5000))
            m_process.kill();
        m_process.waitForFinished();
    }

    Q_DISABLE_COPY_MOVE(LocalCodeHost)

    const QUrl &address() const { return m_address; }

private:
    QProcess m_process;
    QUrl m_address;
};
