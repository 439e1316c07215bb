#include "Confinement.h"

#include <sys/resource.h>

#ifdef __linux__
#include "FileDescriptor.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <linux/sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#endif

#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
#define WITH_ADDRESS_SANITIZER
#endif
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
#define WITH_THREAD_SANITIZER
#endif

namespace {

bool allowNoCoreFiles()
{
    const rlimit none = { 0, 0 };
    return setrlimit(RLIMIT_CORE, &none) == 0;
}

#ifdef __linux__

bool allowNoNewPrivileges() { return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0; }

// Landlock. The C library has no wrappers for it yet, and the kernel may support more than the headers
// declare.

constexpr std::uint64_t truncatingFiles = 1U << 14; // from version 3
constexpr std::uint64_t devicesCommands = 1U << 15; // from version 5
constexpr std::uint64_t bindingAndConnecting = 3; // TCP, from version 4
constexpr std::uint64_t abstractSocketsAndSignals = 3; // those of other processes, from version 6

/// The rights that are denied unless a rule grants them. Older kernels know only the first fields, and accept
/// the structure as long as the others are zero.
struct Forbidden {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scopes = 0;
};

/// Everything that version `version` of Landlock can forbid.
Forbidden forbiddenIn(long version)
{
    constexpr std::uint64_t firstVersions = 2 * LANDLOCK_ACCESS_FS_MAKE_SYM - 1;
    Forbidden forbidden;
    forbidden.files = firstVersions;
    if (version >= 2)
        forbidden.files |= LANDLOCK_ACCESS_FS_REFER;
    if (version >= 3)
        forbidden.files |= truncatingFiles;
    if (version >= 4)
        forbidden.network = bindingAndConnecting;
    if (version >= 5)
        forbidden.files |= devicesCommands;
    if (version >= 6)
        forbidden.scopes = abstractSocketsAndSignals;
    return forbidden;
}

bool allowBelow(int folder, std::uint64_t rights, const FileDescriptor &rules)
{
    landlock_path_beneath_attr rule = {};
    rule.allowed_access = rights;
    rule.parent_fd = folder;
    return syscall(SYS_landlock_add_rule, rules.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

bool allowFilesOnlyBelow(int folder)
{
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1)
        return false;
    const Forbidden forbidden = forbiddenIn(version);
    const FileDescriptor rules(
        static_cast<int>(syscall(SYS_landlock_create_ruleset, &forbidden, sizeof(forbidden), 0)));
    if (!rules.isOpen())
        return false;

    constexpr std::uint64_t unpacking = LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_WRITE_FILE
        | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_READ_DIR | LANDLOCK_ACCESS_FS_MAKE_SYM
        | LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR;
    if (folder >= 0 && !allowBelow(folder, unpacking, rules))
        return false;
#ifdef COVERAGE_FOLDER
    const FileDescriptor counts(open(COVERAGE_FOLDER, O_PATH | O_CLOEXEC));
    if (!allowBelow(counts.get(), unpacking | LANDLOCK_ACCESS_FS_READ_FILE, rules))
        return false;
#endif
    return syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0;
}

// seccomp. Its rules see only the values of arguments, not what pointers point to: paths are left to
// Landlock.

using Filter = std::unique_ptr<void, decltype(&seccomp_release)>;

constexpr const char *harmlessCalls[] = {
#if defined(WITH_ADDRESS_SANITIZER) || defined(WITH_THREAD_SANITIZER)
    // Alternate signal stacks; a pipe, through which UBSan finds out whether memory is readable.
    "sigaltstack", "pipe", "pipe2",
#endif
#ifdef COVERAGE_FOLDER
    "fcntl", "ftruncate",
#endif
    // Open files.
    "read", "readv", "pread64", "write", "writev", "pwrite64", "lseek", "close", "getdents64", "fstat",
    "fchmod", "poll", "ppoll",
    // Paths, as far as Landlock allows them. The C library checks the time zone's file again and again.
    "openat", "mkdirat", "symlinkat", "unlinkat", "newfstatat", "statx",
    // Memory. mmap and mprotect have conditions below.
    "brk", "munmap", "mremap", "madvise",
    // Threads, locks and waiting.
    "futex", "set_robust_list", "rseq", "sched_getaffinity", "sched_yield", "gettid", "getpid", "nanosleep",
    "clock_nanosleep", "clock_gettime", "clock_getres", "gettimeofday", "restart_syscall",
    // Signal handling, abort, exit.
    "rt_sigaction", "rt_sigprocmask", "rt_sigreturn", "exit", "exit_group",
    // For the allocator.
    "getrandom"
};

struct ConditionalCall {
    const char *name;
    scmp_arg_cmp condition;
};

bool allowCall(const Filter &filter, const char *name, const scmp_arg_cmp *condition = nullptr)
{
    const int number = seccomp_syscall_resolve_name(name);
    // Some architectures lack a call and have another instead, which is in the list as well.
    return number == __NR_SCMP_ERROR
        || seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, number, condition ? 1 : 0, condition) == 0;
}

bool allowOnlyUsualCalls()
{
    // Fail as on a kernel without the call, so that libraries fall back to an older one: the C library then
    // starts threads with "clone", whose flags can be checked here, instead of "clone3".
    const Filter filter(seccomp_init(SCMP_ACT_ERRNO(ENOSYS)), &seccomp_release);
    if (!filter)
        return false;
    seccomp_attr_set(filter.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS);
    seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_OPTIMIZE,
                     2); // a binary tree instead of a linear list

    constexpr std::uint64_t namespaces = CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS | CLONE_NEWIPC
        | CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET;
    const ConditionalCall conditionalCalls[] = {
        // Threads, but no processes.
        { "clone", { 0, SCMP_CMP_MASKED_EQ, CLONE_THREAD | namespaces, CLONE_THREAD } },
        // Memory, but none that can be run.
        { "mmap", { 2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0 } },
        { "mprotect", { 2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0 } },
        // The times of open files, not of paths.
        { "utimensat", { 1, SCMP_CMP_EQ, 0, 0 } },
        // Signals to this process only.
        { "tgkill", { 0, SCMP_CMP_EQ, static_cast<scmp_datum_t>(getpid()), 0 } },
        { "fcntl", { 1, SCMP_CMP_EQ, F_GETFL, 0 } },
        { "fcntl", { 1, SCMP_CMP_EQ, F_SETFD, 0 } },
        { "fcntl", { 1, SCMP_CMP_EQ, F_DUPFD_CLOEXEC, 0 } },
    };
    for (const char *name : harmlessCalls) {
        if (!allowCall(filter, name))
            return false;
    }
    for (const ConditionalCall &call : conditionalCalls) {
        if (!allowCall(filter, call.name, &call.condition))
            return false;
    }
    return seccomp_load(filter.get()) == 0;
}

#endif

}

#if defined(__linux__) && defined(WITH_ADDRESS_SANITIZER)
namespace {
bool leaksCannotBeSought = false; // that takes another process, which inspects this one
}
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name for it
extern "C" int __lsan_is_turned_off() { return leaksCannotBeSought; }
#endif

Confinement confine([[maybe_unused]] int folder)
{
    Confinement confinement;
    confinement.noCoreFiles = allowNoCoreFiles();
#ifdef __linux__
    confinement.noNewPrivileges = allowNoNewPrivileges();
    confinement.files = allowFilesOnlyBelow(folder);
    confinement.systemCalls = allowOnlyUsualCalls();
#ifdef WITH_ADDRESS_SANITIZER
    leaksCannotBeSought = confinement.files || confinement.systemCalls;
#endif
#endif
    return confinement;
}
