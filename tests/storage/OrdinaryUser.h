#pragma once

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>

/// Permissions stop everybody but the superuser, as whom tests may run too.
namespace OrdinaryUser {

/// The user whom the superuser becomes; by convention one who owns nothing.
constexpr uid_t nobody = 65534;

inline bool isNeeded() { return geteuid() == 0; }

/// Gives `path` to the user whom `run` becomes.
inline bool own(const char *path) { return !isNeeded() || lchown(path, nobody, nobody) == 0; }

/// Calls `work` as a user whom permissions stop, in a process of its own if this one is the superuser's.
/// False when it gave false or threw.
template <typename Work> bool run(Work work)
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
    if (child == 0) {
        const bool changed = setgid(nobody) == 0 && setuid(nobody) == 0;
        _exit(changed && succeeds() ? 0 : 1);
    }
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}
