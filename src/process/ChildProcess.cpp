#include "ChildProcess.h"

#include <QFile>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <vector>

namespace {

/// The status reported when waitid() fails.
constexpr qint32 unknownStatus = 255;

class Attributes final {
public:
    Attributes()
    {
        ::posix_spawnattr_init(&m_value);
        // The child would inherit what the launcher blocks or ignores for itself, and most programs do not
        // reset it. What the player's shell set (as nohup does) stays.
        sigset_t signals;
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&m_value, &signals);
        for (const int signal : { SIGPIPE, SIGTERM, SIGCHLD, SIGXFSZ })
            sigaddset(&signals, signal);
        ::posix_spawnattr_setsigdefault(&m_value, &signals);
        int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
#ifdef Q_OS_DARWIN
        flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
        ::posix_spawnattr_setflags(&m_value, static_cast<short>(flags));
    }
    ~Attributes() { ::posix_spawnattr_destroy(&m_value); }
    Q_DISABLE_COPY_MOVE(Attributes)

    const posix_spawnattr_t *get() const { return &m_value; }

private:
    posix_spawnattr_t m_value;
};

class FileActions final {
public:
    FileActions() { ::posix_spawn_file_actions_init(&m_value); }
    ~FileActions() { ::posix_spawn_file_actions_destroy(&m_value); }
    Q_DISABLE_COPY_MOVE(FileActions)

    /// Returns an errno value, 0 on success.
    int setStreams(int output)
    {
        int error = ::posix_spawn_file_actions_addopen(&m_value, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        if (error == 0)
            error = ::posix_spawn_file_actions_adddup2(&m_value, output, STDOUT_FILENO);
        if (error == 0)
            error = ::posix_spawn_file_actions_adddup2(&m_value, output, STDERR_FILENO);
#ifndef Q_OS_DARWIN
        if (error == 0)
            error = ::posix_spawn_file_actions_addclosefrom_np(&m_value, STDERR_FILENO + 1);
#endif
        return error;
    }

    const posix_spawn_file_actions_t *get() const { return &m_value; }

private:
    posix_spawn_file_actions_t m_value;
};

/// A null-terminated array, as posix_spawn() expects.
std::vector<char *> pointersTo(QByteArrayList &texts)
{
    std::vector<char *> pointers;
    for (QByteArray &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// The launcher may have inherited an ignored SIGCHLD. The system would then reap each child as it ends: its
/// status would be lost and its pid could be reused.
void keepEndedChildren()
{
    struct sigaction action = {};
    if (::sigaction(SIGCHLD, nullptr, &action) != 0)
        return;
    if (action.sa_handler == SIG_IGN || (action.sa_flags & SA_NOCLDWAIT) != 0) {
        action = {};
        action.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &action, nullptr);
    }
}

}

ChildProcess::~ChildProcess()
{
    const pid_t pid = m_pid;
    while (pid > 0 && ::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) { }
}

int ChildProcess::launch(const QString &executable, const QStringList &arguments,
                         const QByteArrayList &environment, int output)
{
    QByteArrayList words { QFile::encodeName(executable) };
    for (const QString &argument : arguments)
        words.append(argument.toLocal8Bit());
    QByteArrayList variables = environment;
    const std::vector<char *> wordPointers = pointersTo(words);
    const std::vector<char *> variablePointers = pointersTo(variables);

    FileActions actions;
    if (const int error = actions.setStreams(output); error != 0)
        return error;
    const Attributes attributes;
    keepEndedChildren();
    pid_t pid = 0;
    const int error = ::posix_spawn(&pid, wordPointers.front(), actions.get(), attributes.get(),
                                    wordPointers.data(), variablePointers.data());
    if (error == 0)
        m_pid = pid;
    return error;
}

ChildEnd ChildProcess::waitForEnd()
{
    const auto child = static_cast<id_t>(m_pid.load());
    for (;;) {
        siginfo_t info = {};
        // WNOWAIT leaves the child unreaped, so that its pid stays reserved.
        if (::waitid(P_PID, child, &info, WEXITED | WNOWAIT) != 0) {
            if (errno == EINTR)
                continue;
            m_pid = 0; // somebody else has reaped it, so the pid is no longer ours
            return { .status = unknownStatus, .bySignal = false };
        }
        if (const auto end = childEnd(info.si_code, info.si_status))
            return *end;
        // Some systems report stops and continuations as well, again and again until they are consumed.
        ::waitid(P_PID, child, &info, WSTOPPED | WCONTINUED | WNOHANG);
    }
}

void ChildProcess::terminate() const { send(SIGTERM); }

void ChildProcess::kill() const { send(SIGKILL); }

void ChildProcess::send(int signal) const
{
    if (const pid_t pid = m_pid; pid > 0)
        ::kill(pid, signal);
}
