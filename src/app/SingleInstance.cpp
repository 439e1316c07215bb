#include "SingleInstance.h"

#include "FileError.h"
#include "FileOperations.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

const QByteArray request = "come forward";
const QByteArray reply = "came forward\n";
constexpr qint64 longestRequest = 4096;

/// Between two attempts, while the other launcher may still be starting or ending.
constexpr unsigned long pauseInMilliseconds = 20;

/// The socket of the first launcher. Not in the launcher's folder, which may be removed while it runs.
QString socketPath(const QString &root)
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const bool isUsable = QDir::isAbsolutePath(runtime) && QFileInfo(runtime).isDir();
    const QByteArray digest = QCryptographicHash::hash(QFile::encodeName(root), QCryptographicHash::Sha256);
    return QStringLiteral("%1/vantor-platformer-%2-%3")
        .arg(isUsable ? runtime : QDir::tempPath(), QString::number(::getuid()),
             QString::fromLatin1(digest.toHex().left(16)));
}

/// This process's permission from the desktop to take the focus, to be passed on to the other launcher.
QByteArray ownActivationToken()
{
    const QByteArray token = qgetenv("XDG_ACTIVATION_TOKEN");
    return token.isEmpty() ? qgetenv("DESKTOP_STARTUP_ID") : token;
}

}

SingleInstance::SingleInstance(const QString &root)
    : m_folder(QFileInfo(root).path())
    , m_socketPath(socketPath(root))
{
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *other = m_server.nextPendingConnection()) {
            connect(other, &QLocalSocket::disconnected, other, &QObject::deleteLater);
            connect(other, &QLocalSocket::readyRead, this, [this, other] { answer(other); });
            answer(other);
        }
    });
}

SingleInstance::~SingleInstance() { stopAnswering(); }

SingleInstance::Outcome SingleInstance::begin(std::chrono::milliseconds patience)
{
    const QDeadlineTimer deadline(patience);
    Reply lastReply = Reply::NobodyThere;
    do {
        switch (takeLock()) {
        case Lock::Taken:
            listen();
            return Outcome::Holds;
        case Lock::Unavailable:
            return Outcome::CannotHold;
        case Lock::HeldByOther:
            break;
        }
        lastReply = askOther(std::chrono::milliseconds(deadline.remainingTime()));
        if (lastReply == Reply::CameForward)
            return Outcome::OtherCameForward;
        QThread::msleep(pauseInMilliseconds);
    } while (!deadline.hasExpired());
    return lastReply == Reply::Silence ? Outcome::OtherIsSilent : Outcome::HeldByUnknown;
}

void SingleInstance::stopAnswering() { m_server.close(); }

SingleInstance::Lock SingleInstance::takeLock()
{
    try {
        FileOperations::createFolder(m_folder);
    } catch (const FileError &) {
        return Lock::Unavailable; // the player's next action reports the reason
    }
    const Lock folder = lockFolder();
    return folder == Lock::Unavailable ? lockSubstitute() : folder;
}

SingleInstance::Lock SingleInstance::lockFolder()
{
    return lock(
        FileDescriptor(::open(QFile::encodeName(m_folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
}

SingleInstance::Lock SingleInstance::lockSubstitute()
{
    const QByteArray path = QFile::encodeName(m_socketPath + QStringLiteral(".lock"));
    FileDescriptor file(
        ::open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    struct stat status = {};
    // In a folder that everybody can write, another user may have created the file.
    const bool isOurs = file.isOpen() && ::fstat(file.get(), &status) == 0 && status.st_uid == ::getuid();
    return isOurs ? lock(std::move(file)) : Lock::Unavailable;
}

/// Locks an open file, and keeps it open if that succeeds.
SingleInstance::Lock SingleInstance::lock(FileDescriptor file)
{
    if (!file.isOpen())
        return Lock::Unavailable;
    int error = 0;
    do {
        error = ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
    } while (error == EINTR);
    if (error != 0)
        return error == EWOULDBLOCK ? Lock::HeldByOther : Lock::Unavailable;
    m_lock = std::move(file);
    return Lock::Taken;
}

void SingleInstance::listen()
{
    // Replaces the socket of a launcher that was killed. If this fails the launcher still works; a second one
    // then reports that the folder is locked.
    m_server.listen(m_socketPath);
}

void SingleInstance::answer(QLocalSocket *other)
{
    if (!other->canReadLine()) {
        if (other->bytesAvailable() > longestRequest)
            other->abort();
        return;
    }
    const QByteArray line = other->readLine(longestRequest).trimmed();
    if (line.startsWith(request))
        Q_EMIT cameForward(line.mid(request.size()).trimmed());
    other->write(reply);
    other->disconnectFromServer();
}

SingleInstance::Reply SingleInstance::askOther(std::chrono::milliseconds patience) const
{
    const QDeadlineTimer deadline(patience);
    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    int left = static_cast<int>(deadline.remainingTime());
    if (!socket.waitForConnected(left)) // gate: allowed, because no event loop runs yet
        return Reply::NobodyThere;
    // A valid token contains no spaces or line feeds.
    QByteArray token = ownActivationToken();
    if (token.size() > longestRequest / 2 || token.contains(' ') || token.contains('\n'))
        token.clear();
    socket.write(request + ' ' + token + '\n');
    QByteArray received;
    while (!received.contains(reply)) {
        left = static_cast<int>(deadline.remainingTime());
        if (!socket.waitForReadyRead(left)) // gate: allowed, because no event loop runs yet
            return Reply::Silence;
        received += socket.readAll();
    }
    return Reply::CameForward;
}
