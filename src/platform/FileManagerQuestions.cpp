#include "FileManagerQuestions.h"

#include "MainThread.h"
#include "MessageBus.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

// A file manager may have to be started first.
constexpr std::chrono::milliseconds longestAnswer { 10000 };
constexpr std::chrono::milliseconds longestConnecting { 5000 };

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
        postToMainThread(std::move(question.onNoAnswer));
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
    const QString address = MessageBus::sessionAddress();
    if (address.isEmpty())
        postToMainThread([self = shared_from_this()] { self->answered(false); });
    else
        connectTo(address);
}

void FileManagerQuestions::connectTo(const QString &address)
{
    const auto self = shared_from_this();
    m_isConnecting = true;
    MessageBus::connect(address, {}, [self](const std::optional<QDBusConnection> &connection) {
        self->m_isConnecting = false;
        if (connection)
            self->connected(*connection);
        else
            self->notConnected();
    });
    const int attempt = ++m_attempt;
    QTimer::singleShot(longestConnecting, QCoreApplication::instance(), [self, attempt] {
        if (self->m_isConnecting && attempt == self->m_attempt)
            self->giveUp();
    });
}

void FileManagerQuestions::connected(const QDBusConnection &connection)
{
    const QString connectionName = connection.name();
    if (!m_current) {
        QDBusConnection::disconnectFromBus(connectionName);
        return;
    }
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
