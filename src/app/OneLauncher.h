#pragma once

#include <QLocalServer>
#include <QLocalSocket>
#include <QObject>
#include <QString>

#include <chrono>

/// One launcher at a time works in the launcher's folder. The first one holds the folder until its process
/// ends, however it ends; a later one asks it to come forward. Main thread.
///
/// The hold is the kernel's own lock on the folder that the launcher's folder lies in, not a lock file:
/// nothing is written, so nothing can be left behind, garbled or taken over by another process with the same
/// number, and it outlives the removal of everything that the launcher has downloaded. Where the file system
/// does not lock folders, as over some networks, an empty file beside the launchers' meeting place is locked.
class OneLauncher final : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        Holds, ///< this launcher is the one
        CannotHold, ///< the folder cannot be made, and nothing else can be locked in its place
        OtherCameForward, ///< another launcher is the one, and has come forward
        OtherIsSilent, ///< another launcher is the one, and does not answer
        HeldByUnknown, ///< somebody holds the folder, and nobody is there to be asked: another program, or a
                       ///< launcher of another session of this user
    };

    /// `root` is the launcher's folder; it need not exist.
    explicit OneLauncher(const QString &root);
    ~OneLauncher() override;

    /// Tries to become the one launcher. Blocks for at most about `patience`, and only while another one
    /// holds the folder without answering; so it is called once, before the event loop runs.
    Outcome begin(std::chrono::milliseconds patience = std::chrono::seconds(5));

    /// The folder that is held.
    const QString &folder() const { return m_folder; }

    /// Lets the next launcher wait for the end of this one rather than bring it forward.
    void stopAnswering();

Q_SIGNALS:
    /// Another launcher was started. `activationToken` is what the desktop gave that one to take the focus
    /// with; it may be empty.
    void cameForward(const QByteArray &activationToken);

private:
    enum class Lock { Taken, HeldByOther, Unavailable };
    enum class Reply { CameForward, Silence, NobodyThere };

    Lock takeLock();
    Lock lockFolder();
    Lock lockSubstitute();
    Lock lock(int descriptor);
    void listen();
    void answer(QLocalSocket *other);
    Reply askOther(std::chrono::milliseconds patience) const;

    const QString m_folder;
    const QString m_socketPath;
    int m_lock = -1;
    QLocalServer m_server;
};
