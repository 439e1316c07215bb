#pragma once

#include <fcntl.h>
#include <linux/bpf.h>
#include <linux/io_uring.h>
#include <linux/sched.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// What a process may try, for programs that confine themselves as the unpacker does.
namespace Attempts {

/// What an attempt may use, opened before confinement.
struct Open {
    std::string path; ///< of the folder that holds all of it
    int destination = -1;
    int archive = -1;
    int program = -1;
    pid_t parent = 0;
};

using At = const Open &;

/// Whether the system call that returned `result` succeeded.
inline bool isWell(long result) { return result >= 0; }

inline bool make(int folder, const char *name)
{
    return isWell(openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
}

/// Whether the fork that returned `child` succeeded; exits in the child.
inline bool hasStarted(pid_t child)
{
    if (child == 0)
        _exit(0);
    return isWell(child);
}

inline bool runProgram(const char *program)
{
    char *arguments[] = { nullptr };
    return isWell(execve(program, arguments, arguments));
}

inline bool runFromMemory(At)
{
    constexpr std::string_view script = "#!/bin/true\n";
    const int memory = static_cast<int>(syscall(SYS_memfd_create, "program", 0));
    if (!isWell(memory) || write(memory, script.data(), script.size()) < 0)
        return false;
    char *arguments[] = { nullptr };
    return isWell(syscall(SYS_execveat, memory, "", arguments, arguments, AT_EMPTY_PATH));
}

inline bool loadIntoKernel(At)
{
    bpf_attr attributes = {};
    attributes.map_type = BPF_MAP_TYPE_ARRAY;
    attributes.key_size = attributes.value_size = 4;
    attributes.max_entries = 1;
    return isWell(syscall(SYS_bpf, BPF_MAP_CREATE, &attributes, sizeof(attributes)));
}

inline bool prepareRing(At)
{
    io_uring_params parameters = {};
    return isWell(syscall(SYS_io_uring_setup, 1, &parameters));
}

inline bool readMemoryOf(pid_t process)
{
    char byte = 0;
    iovec here = { &byte, 1 };
    iovec there = { nullptr, 1 };
    // Page zero is never mapped, so EFAULT means that reading as such is allowed.
    return process_vm_readv(process, &here, 1, &there, 1, 0) >= 0 || errno == EFAULT;
}

constexpr timespec times[2] = { { 0, UTIME_OMIT }, { 1'500'000'000, 0 } };

inline bool fillAFile(At at)
{
    const int file = openat(at.destination, "file", O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
    struct stat info = {};
    return isWell(file) && write(file, "one", 3) == 3 && pwrite(file, "two", 3, 3) == 3
        && fchmod(file, 0755) == 0 && futimens(file, times) == 0 && fstat(file, &info) == 0
        && info.st_mtime == 1'500'000'000 && info.st_size == 6 && close(file) == 0;
}

inline bool fillAFolder(At at)
{
    if (mkdirat(at.destination, "folder", 0755) != 0)
        return false;
    const int folder = openat(at.destination, "folder", O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    return make(folder, "file") && symlinkat("file", folder, "link") == 0 && futimens(folder, times) == 0;
}

inline bool clearUp(At at)
{
    if (!fillAFolder(at))
        return false;
    const int folder = openat(at.destination, "folder", O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    return unlinkat(folder, "file", 0) == 0 && unlinkat(folder, "link", 0) == 0
        && unlinkat(at.destination, "folder", AT_REMOVEDIR) == 0;
}

inline bool readOn(At at)
{
    char bytes[7] = {};
    return pread(at.archive, bytes, sizeof(bytes), 0) == 7 && std::memcmp(bytes, "content", 7) == 0
        && lseek(at.archive, 0, SEEK_END) == 7;
}

inline bool workInThreads(At)
{
    std::atomic<int> done = 0;
    {
        std::vector<std::jthread> threads;
        for (int index = 0; index < 8; ++index) {
            threads.emplace_back([&done] {
                std::vector<std::vector<char>> memory;
                for (int round = 0; round < 64; ++round)
                    memory.emplace_back(std::size_t(1) << (round % 21), 'a');
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                ++done;
            });
        }
    }
    return done == 8;
}

inline bool catchAnException(At)
{
    try {
        throw std::runtime_error("as the damaged archive makes it");
    } catch (const std::exception &) {
        return true;
    }
}

inline bool knowTheTime(At)
{
    std::tm summer = {};
    summer.tm_year = 124;
    summer.tm_mon = 6;
    summer.tm_mday = 1;
    summer.tm_isdst = -1;
    return std::mktime(&summer) == 1'719'806'400; // in New York
}

/// What refuses an attempt: Landlock, the seccomp filter, or each of them alone. Needed: nothing does, since
/// unpacking needs it. Watched: others look at how it ends.
enum RefusedBy { Files, Calls, Either, Needed, Watched };

struct Attempt {
    const char *what = nullptr;
    RefusedBy refusedBy = Watched;
    bool (*succeeds)(At) = nullptr;
};

inline const std::vector<Attempt> all = {
    // Paths.
    { "read a file", Files, [](At) { return isWell(open("/etc/passwd", O_RDONLY)); } },
    { "read about the process", Files, [](At) { return isWell(open("/proc/self/maps", O_RDONLY)); } },
    { "list a folder", Files, [](At at) { return isWell(open(at.path.c_str(), O_RDONLY | O_DIRECTORY)); } },
    { "write beside", Files, [](At at) { return make(AT_FDCWD, (at.path + "/new").c_str()); } },
    { "write above", Files, [](At at) { return make(at.destination, "../new"); } },
    { "write through a link", Files, [](At at) { return make(at.destination, "out/new"); } },
    { "open what is open for writing", Files,
      [](At at) { return isWell(open(("/proc/self/fd/" + std::to_string(at.archive)).c_str(), O_RDWR)); } },
    { "make a folder beside", Files, [](At at) { return mkdirat(at.destination, "../new", 0700) == 0; } },
    { "make a link beside", Files,
      [](At at) { return symlinkat("archive", at.destination, "../new") == 0; } },
    { "remove beside", Files, [](At at) { return unlinkat(at.destination, "../archive", 0) == 0; } },
    { "remove a folder beside", Files,
      [](At at) { return unlinkat(at.destination, "../empty", AT_REMOVEDIR) == 0; } },
    { "move out", Either,
      [](At at) { return renameat(at.destination, "own", at.destination, "../new") == 0; } },
    { "move in", Either,
      [](At at) { return renameat(at.destination, "../archive", at.destination, "new") == 0; } },
    { "hard link out", Either,
      [](At at) { return linkat(at.destination, "own", at.destination, "../new", 0) == 0; } },
    { "hard link in", Either,
      [](At at) { return linkat(at.destination, "../archive", at.destination, "new", 0) == 0; } },
    { "make a pipe", Either, [](At at) { return mkfifoat(at.destination, "new", 0600) == 0; } },
    { "make a device", Either,
      [](At at) { return mknodat(at.destination, "new", S_IFCHR | 0600, makedev(1, 3)) == 0; } },
    { "cut off a file", Calls, [](At at) { return truncate((at.path + "/archive").c_str(), 1) == 0; } },
    { "change a mode", Calls, [](At at) { return fchmodat(at.destination, "../archive", 0777, 0) == 0; } },
    { "change times", Calls, [](At at) { return utimensat(at.destination, "../archive", nullptr, 0) == 0; } },
    // The network and other processes.
    { "connect by IP", Calls, [](At) { return isWell(socket(AF_INET, SOCK_STREAM, 0)); } },
    { "connect by IPv6", Calls, [](At) { return isWell(socket(AF_INET6, SOCK_DGRAM, 0)); } },
    { "connect on this machine", Calls, [](At) { return isWell(socket(AF_UNIX, SOCK_STREAM, 0)); } },
    { "signal", Calls, [](At at) { return kill(at.parent, 0) == 0; } },
    { "signal a thread", Calls, [](At at) { return syscall(SYS_tgkill, at.parent, at.parent, 0) == 0; } },
    { "trace", Either, [](At at) { return isWell(ptrace(PTRACE_SEIZE, at.parent, nullptr, nullptr)); } },
    { "read memory", Either, [](At at) { return readMemoryOf(at.parent); } },
    // Programs.
    { "run a program", Either, [](At) { return runProgram("/bin/true"); } },
    { "run an open program", Either,
      [](At at) {
          char *arguments[] = { nullptr };
          return isWell(syscall(SYS_execveat, at.program, "", arguments, arguments, AT_EMPTY_PATH));
      } },
    { "run a program from memory", Calls, runFromMemory },
    { "fork", Calls, [](At) { return hasStarted(fork()); } },
    { "fork with clone", Calls,
      [](At) { return hasStarted(static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0))); } },
    { "fork with clone3", Calls,
      [](At) {
          clone_args clone = {};
          clone.exit_signal = SIGCHLD;
          return hasStarted(static_cast<pid_t>(syscall(SYS_clone3, &clone, sizeof(clone))));
      } },
    { "start a thread with another network", Calls,
      [](At) {
          // If it is allowed, the kernel still returns EINVAL: such a thread must share the signal handlers.
          return isWell(syscall(SYS_clone, CLONE_THREAD | CLONE_NEWNET, 0, 0, 0, 0)) || errno == EINVAL;
      } },
    { "vfork", Calls,
      [](At) {
          const pid_t child = vfork(); // not in a function, which would return in the child
          if (child == 0)
              _exit(0);
          return isWell(child);
      } },
    { "make memory that runs", Calls,
      [](At) {
          return mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
      } },
    { "let memory run", Calls,
      [](At) {
          void *memory = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
          return mprotect(memory, 4096, PROT_READ | PROT_EXEC) == 0;
      } },
    // The kernel.
    { "load into the kernel", Calls, loadIntoKernel },
    { "prepare a ring", Calls, prepareRing },
    { "leave the namespace", Calls, [](At) { return unshare(CLONE_NEWUSER) == 0; } },
    { "fill a file", Needed, fillAFile },
    { "fill a folder", Needed, fillAFolder },
    { "clear up", Needed, clearUp },
    { "read on", Needed, readOn },
    { "work in threads", Needed, workInThreads },
    { "catch an exception", Needed, catchAnException },
    { "know the time", Needed, knowTheTime },
    { "abort", Watched,
      [](At) -> bool {
          std::fputs("It aborts.\n", stderr);
          std::abort();
      } },
    { "let an exception go", Watched, [](At) -> bool { throw std::runtime_error("nobody catches it"); } },
    { "wait", Watched,
      [](At) {
          char end = 0;
          return read(STDIN_FILENO, &end, 1) == 0;
      } },
#ifdef __x86_64__
    { "call like a 32-bit program", Watched,
      [](At) {
          long result = 20; // getpid
          asm volatile("int $0x80" : "+a"(result) : : "memory", "r8", "r9", "r10", "r11");
          return isWell(result);
      } },
#endif
};

}
