#include "FileManagerQuestions.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QFile>
#include <QFileInfo>
#include <QTimer>
#include <QUrl>
#include <QUuid>

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace {

// A file manager may have to be started first.
constexpr std::chrono::milliseconds longestAnswer { 10000 };
constexpr std::chrono::milliseconds longestConnecting { 5000 };

/// The address of the session bus; empty when there is none. Looked up here because the D-Bus library would
/// start a bus of its own when it finds none.
QString sessionBusAddress()
{
    const QString named = QString::fromLocal8Bit(qgetenv("DBUS_SESSION_BUS_ADDRESS"));
    if (!named.isEmpty())
        return named;
    const QString socket = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR")) + QStringLiteral("/bus");
    return QFileInfo::exists(socket) ? QStringLiteral("unix:path=") + socket : QString();
}

void onMainThread(std::function<void()> work)
{
    if (auto *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(work), Qt::QueuedConnection);
}

}

void FileManagerQuestions::ask(Question question)
{
    // The player may press again and again while the bus is silent; one answer is enough.
    const bool waitsAlready = std::any_of(m_waiting.cbegin(), m_waiting.cend(), [&](const Question &waiting) {
        return waiting.folder == question.folder;
    });
    if (waitsAlready)
        return;
    const bool wasGivenUp = m_isConnecting && !m_current;
    if (wasGivenUp) {
        onMainThread(std::move(question.onNoAnswer));
        return;
    }
    m_waiting.append(std::move(question));
    if (!m_current)
        askNext();
}

void FileManagerQuestions::askNext()
{
    if (m_waiting.isEmpty())
        return;
    m_current = m_waiting.takeFirst();
    const QString address = sessionBusAddress();
    if (address.isEmpty())
        onMainThread([self = shared_from_this()] { self->answered(false); });
    else
        connectTo(address);
}

void FileManagerQuestions::connectTo(const QString &address)
{
    const auto self = shared_from_this();
    m_isConnecting = true;
    try {
        std::thread([self, address] {
            const QString name = QUuid::createUuid().toString();
            const bool isConnected = QDBusConnection::connectToBus(address, name).isConnected();
            if (!isConnected)
                QDBusConnection::disconnectFromBus(name);
            onMainThread([self, name, isConnected] {
                self->m_isConnecting = false;
                if (isConnected)
                    self->connected(name);
                else
                    self->notConnected();
            });
        }).detach();
    } catch (const std::system_error &) {
        // No thread could be started.
        onMainThread([self] {
            self->m_isConnecting = false;
            self->notConnected();
        });
    }
    const int attempt = ++m_attempt;
    QTimer::singleShot(longestConnecting, QCoreApplication::instance(), [self, attempt] {
        if (self->m_isConnecting && attempt == self->m_attempt)
            self->giveUp();
    });
}

void FileManagerQuestions::connected(const QString &connectionName)
{
    if (!m_current) {
        QDBusConnection::disconnectFromBus(connectionName);
        return;
    }
    const QDBusConnection connection(connectionName);
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    const QString startupId;
    message << QStringList(QUrl::fromLocalFile(m_current->folder).toString(QUrl::FullyEncoded)) << startupId;

    auto *answer = new QDBusPendingCallWatcher(
        connection.asyncCall(message, static_cast<int>(longestAnswer.count())), QCoreApplication::instance());
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer,
                     [self = shared_from_this(), answer, connectionName] {
                         answer->deleteLater();
                         QDBusConnection::disconnectFromBus(connectionName);
                         self->answered(!answer->isError());
                     });
}

void FileManagerQuestions::notConnected()
{
    if (m_current)
        answered(false);
}

void FileManagerQuestions::answered(bool shown)
{
    const Question question = std::exchange(m_current, std::nullopt).value();
    if (!shown)
        question.onNoAnswer();
    if (!m_current)
        askNext();
}

void FileManagerQuestions::giveUp()
{
    const Question given = std::exchange(m_current, std::nullopt).value();
    const QList<Question> waiting = std::exchange(m_waiting, {});
    given.onNoAnswer();
    for (const Question &question : waiting) {
        if (question.folder != given.folder)
            question.onNoAnswer();
    }
}
