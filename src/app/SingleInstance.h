#pragma once

#include "FileDescriptor.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QObject>
#include <QString>

#include <chrono>

/// Single-instance guard: only one launcher at a time uses the launcher's folder. The first one holds a lock
/// until its process ends, however it ends; a later one asks it to bring its window forward. Main thread.
///
/// The lock is the kernel's, on the parent of the launcher's folder, and not a lock file: nothing is written,
/// so nothing can be left behind, corrupted or confused with a process that reuses the PID, and the lock
/// survives the removal of everything that the launcher has downloaded. On file systems that cannot lock
/// folders, such as some network shares, an empty file beside the socket is locked instead.
class SingleInstance final : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        Holds, ///< this is the only launcher
        CannotHold, ///< the folder cannot be created, or neither it nor the substitute can be locked
        OtherCameForward, ///< another launcher was running, and has come forward
        OtherIsSilent, ///< another launcher is running, but does not answer
        HeldByUnknown, ///< the folder is locked, but nobody listens on the socket: another program, or a
                       ///< launcher in another session of this user
    };

    /// `root` is the launcher's folder; it need not exist.
    explicit SingleInstance(const QString &root);
    ~SingleInstance() override;

    /// Tries to become the only launcher. Blocks for up to about `patience`, and only while another one holds
    /// the lock without answering, so call it once, before the event loop runs.
    Outcome begin(std::chrono::milliseconds patience = std::chrono::seconds(5));

    /// The locked folder, which contains the launcher's own.
    const QString &folder() const { return m_folder; }

    /// From now on a newly started launcher waits for this one to end instead of bringing it forward.
    void stopAnswering();

Q_SIGNALS:
    /// Another launcher was started. `activationToken` is that one's permission from the desktop to take the
    /// focus; it may be empty.
    void cameForward(const QByteArray &activationToken);

private:
    enum class Lock { Taken, HeldByOther, Unavailable };
    enum class Reply { CameForward, Silence, NobodyThere };

    Lock takeLock();
    Lock lockFolder();
    Lock lockSubstitute();
    Lock lock(FileDescriptor file);
    void listen();
    void answer(QLocalSocket *other);
    Reply askOther(std::chrono::milliseconds patience) const;

    const QString m_folder;
    const QString m_socketPath;
    FileDescriptor m_lock; // open while this is the single instance
    QLocalServer m_server;
};
