#pragma once

#include <QDirIterator>

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>

#ifdef COUNTS_COVERAGE
extern "C" void __gcov_dump();
#endif

/// Runs work that file permissions must be able to stop: they do not stop root, and tests may run as root.
namespace OrdinaryUser {

/// The user that root becomes; by convention it owns nothing.
constexpr uid_t nobody = 65534;

inline bool isNeeded() { return geteuid() == 0; }

/// Why a test is skipped that needs `disown`.
constexpr auto cannotDisown = "Only the superuser can make a file that belongs to somebody else.";

/// Makes the user that `run` becomes the owner of `path`.
inline bool own(const QString &path)
{
    return !isNeeded() || lchown(QFile::encodeName(path).constData(), nobody, nobody) == 0;
}

/// The same for a folder and all that is in it.
inline bool ownTree(const QString &folder)
{
    bool isDone = own(folder);
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext())
        isDone = own(entries.next()) && isDone;
    return isDone;
}

/// Makes root the owner of `path` again.
inline bool disown(const QString &path) { return lchown(QFile::encodeName(path).constData(), 0, 0) == 0; }

/// Makes this process run as `user` for good.
inline bool become(uid_t user)
{
#ifdef COUNTS_COVERAGE
    // Root stays the saved ID: only root can write the coverage data at the end.
    return setresgid(user, user, 0) == 0 && setresuid(user, user, 0) == 0;
#else
    return setgid(user) == 0 && setuid(user) == 0;
#endif
}

[[noreturn]] inline void end(bool succeeded)
{
#ifdef COUNTS_COVERAGE
    if (setresuid(0, 0, 0) == 0)
        __gcov_dump();
#endif
    _exit(succeeded ? 0 : 1);
}

/// Calls `work` as a user whom permissions stop, in a child process if this one runs as root. Returns false
/// if `work` returned false or threw.
template <typename Work> bool run(Work work, uid_t user = nobody)
{
    const auto succeeds = [&work] {
        try {
            return work();
        } catch (const std::exception &) {
            return false;
        }
    };
    if (!isNeeded())
        return succeeds();
    const pid_t child = fork();
    if (child == 0)
        end(become(user) && succeeds());
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}
