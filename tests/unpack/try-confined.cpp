// Confines itself as the unpacker does, and then tries one thing.
//
//     try-confined WITH ATTEMPT FOLDER
//
// WITH says what the kernel offers: "files" (Landlock), "calls" (seccomp), "all" or "neither"; with
// "nothing", the program does not confine itself. FOLDER contains the folder "destination", the only writable
// one, with a file "own" and a link "out" to FOLDER; an empty folder "empty"; and the file "archive", which
// is open already. The first line printed says which mechanisms are in force. The exit status is 0 if the
// attempt succeeds, 1 if the system refuses it, and 2 for wrong arguments.

#include "Confinement.h"

#include <fcntl.h>
#include <linux/bpf.h>
#include <linux/io_uring.h>
#include <linux/sched.h>
#include <sched.h>
#include <seccomp.h>
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
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

/// What an attempt may use, opened before confinement.
struct Open {
    std::string path; ///< of the folder that holds all of it
    int destination = -1;
    int archive = -1;
    int program = -1;
    pid_t parent = 0;
};

/// Hides Landlock or seccomp from this process, as if the kernel lacked it. Returns whether that worked.
bool doWithout(bool landlock, bool seccomp)
{
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    const auto refuse = [filter](int call, std::uint32_t code, std::vector<scmp_arg_cmp> conditions = {}) {
        return seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(code), call,
                                      static_cast<unsigned>(conditions.size()), conditions.data())
            == 0;
    };
    bool isDone = filter != nullptr;
    if (landlock)
        isDone = isDone && refuse(SCMP_SYS(landlock_create_ruleset), ENOSYS);
    if (seccomp)
        isDone = isDone && refuse(SCMP_SYS(seccomp), ENOSYS)
            && refuse(SCMP_SYS(prctl), EINVAL, { { 0, SCMP_CMP_EQ, PR_SET_SECCOMP, 0 } });
    isDone = isDone && seccomp_load(filter) == 0;
    seccomp_release(filter);
    return isDone;
}

/// Whether the system call that returned `result` succeeded.
bool isWell(long result) { return result >= 0; }

bool make(int folder, const char *name)
{
    return isWell(openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
}

/// Whether the fork that returned `child` succeeded; exits in the child.
bool hasStarted(pid_t child)
{
    if (child == 0)
        _exit(0);
    return isWell(child);
}

bool runProgram(const char *program)
{
    char *arguments[] = { nullptr };
    return isWell(execve(program, arguments, arguments));
}

bool runFromMemory()
{
    constexpr std::string_view script = "#!/bin/true\n";
    const int memory = static_cast<int>(syscall(SYS_memfd_create, "program", 0));
    if (!isWell(memory) || write(memory, script.data(), script.size()) < 0)
        return false;
    char *arguments[] = { nullptr };
    return isWell(syscall(SYS_execveat, memory, "", arguments, arguments, AT_EMPTY_PATH));
}

bool loadIntoKernel()
{
    bpf_attr attributes = {};
    attributes.map_type = BPF_MAP_TYPE_ARRAY;
    attributes.key_size = attributes.value_size = 4;
    attributes.max_entries = 1;
    return isWell(syscall(SYS_bpf, BPF_MAP_CREATE, &attributes, sizeof(attributes)));
}

bool prepareRing()
{
    io_uring_params parameters = {};
    return isWell(syscall(SYS_io_uring_setup, 1, &parameters));
}

bool readMemoryOf(pid_t process)
{
    char byte = 0;
    iovec here = { &byte, 1 };
    iovec there = { nullptr, 1 };
    // Page zero is never mapped, so EFAULT means that reading as such is allowed.
    return process_vm_readv(process, &here, 1, &there, 1, 0) >= 0 || errno == EFAULT;
}

bool fillAFile(const Open &open)
{
    const int file = openat(open.destination, "file", O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
    const timespec times[2] = { { 0, UTIME_OMIT }, { 1'500'000'000, 0 } };
    struct stat info = {};
    return isWell(file) && write(file, "one", 3) == 3 && pwrite(file, "two", 3, 3) == 3
        && fchmod(file, 0755) == 0 && futimens(file, times) == 0 && fstat(file, &info) == 0
        && info.st_mtime == 1'500'000'000 && info.st_size == 6 && close(file) == 0;
}

bool fillAFolder(const Open &open)
{
    if (mkdirat(open.destination, "folder", 0755) != 0)
        return false;
    const int folder = openat(open.destination, "folder", O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    const timespec times[2] = { { 0, UTIME_OMIT }, { 1'500'000'000, 0 } };
    return make(folder, "file") && symlinkat("file", folder, "link") == 0 && futimens(folder, times) == 0;
}

bool clearUp(const Open &open)
{
    if (!fillAFolder(open))
        return false;
    const int folder = openat(open.destination, "folder", O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    return unlinkat(folder, "file", 0) == 0 && unlinkat(folder, "link", 0) == 0
        && unlinkat(open.destination, "folder", AT_REMOVEDIR) == 0;
}

bool readOn(const Open &open)
{
    char bytes[7] = {};
    return pread(open.archive, bytes, sizeof(bytes), 0) == 7 && std::memcmp(bytes, "content", 7) == 0
        && lseek(open.archive, 0, SEEK_END) == 7;
}

bool workInThreads()
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

bool catchAnException()
{
    try {
        throw std::runtime_error("as the damaged archive makes it");
    } catch (const std::exception &) {
        return true;
    }
}

bool knowTheTime()
{
    std::tm summer = {};
    summer.tm_year = 124;
    summer.tm_mon = 6;
    summer.tm_mday = 1;
    summer.tm_isdst = -1;
    return std::mktime(&summer) == 1'719'806'400; // in New York
}

using Attempt = bool (*)(const Open &);

const std::map<std::string, Attempt> attempts = {
    // Paths.
    { "read a file", [](const Open &) { return isWell(open("/etc/passwd", O_RDONLY)); } },
    { "read about the process", [](const Open &) { return isWell(open("/proc/self/maps", O_RDONLY)); } },
    { "list a folder",
      [](const Open &all) { return isWell(open(all.path.c_str(), O_RDONLY | O_DIRECTORY)); } },
    { "write beside", [](const Open &all) { return make(AT_FDCWD, (all.path + "/new").c_str()); } },
    { "write above", [](const Open &all) { return make(all.destination, "../new"); } },
    { "write through a link", [](const Open &all) { return make(all.destination, "out/new"); } },
    { "open what is open for writing",
      [](const Open &all) {
          return isWell(open(("/proc/self/fd/" + std::to_string(all.archive)).c_str(), O_RDWR));
      } },
    { "make a folder beside", [](const Open &all) { return mkdirat(all.destination, "../new", 0700) == 0; } },
    { "make a link beside",
      [](const Open &all) { return symlinkat("archive", all.destination, "../new") == 0; } },
    { "remove beside", [](const Open &all) { return unlinkat(all.destination, "../archive", 0) == 0; } },
    { "remove a folder beside",
      [](const Open &all) { return unlinkat(all.destination, "../empty", AT_REMOVEDIR) == 0; } },
    { "move out",
      [](const Open &all) { return renameat(all.destination, "own", all.destination, "../new") == 0; } },
    { "move in",
      [](const Open &all) { return renameat(all.destination, "../archive", all.destination, "new") == 0; } },
    { "hard link out",
      [](const Open &all) { return linkat(all.destination, "own", all.destination, "../new", 0) == 0; } },
    { "hard link in",
      [](const Open &all) { return linkat(all.destination, "../archive", all.destination, "new", 0) == 0; } },
    { "make a pipe", [](const Open &all) { return mkfifoat(all.destination, "new", 0600) == 0; } },
    { "make a device",
      [](const Open &all) { return mknodat(all.destination, "new", S_IFCHR | 0600, makedev(1, 3)) == 0; } },
    { "cut off a file", [](const Open &all) { return truncate((all.path + "/archive").c_str(), 1) == 0; } },
    { "change a mode",
      [](const Open &all) { return fchmodat(all.destination, "../archive", 0777, 0) == 0; } },
    { "change times",
      [](const Open &all) { return utimensat(all.destination, "../archive", nullptr, 0) == 0; } },
    // The network and other processes.
    { "connect by IP", [](const Open &) { return isWell(socket(AF_INET, SOCK_STREAM, 0)); } },
    { "connect by IPv6", [](const Open &) { return isWell(socket(AF_INET6, SOCK_DGRAM, 0)); } },
    { "connect on this machine", [](const Open &) { return isWell(socket(AF_UNIX, SOCK_STREAM, 0)); } },
    { "signal", [](const Open &all) { return kill(all.parent, 0) == 0; } },
    { "signal a thread",
      [](const Open &all) { return syscall(SYS_tgkill, all.parent, all.parent, 0) == 0; } },
    { "trace", [](const Open &all) { return isWell(ptrace(PTRACE_SEIZE, all.parent, nullptr, nullptr)); } },
    { "read memory", [](const Open &all) { return readMemoryOf(all.parent); } },
    // Programs.
    { "run a program", [](const Open &) { return runProgram("/bin/true"); } },
    { "run an open program",
      [](const Open &all) {
          char *arguments[] = { nullptr };
          return isWell(syscall(SYS_execveat, all.program, "", arguments, arguments, AT_EMPTY_PATH));
      } },
    { "run a program from memory", [](const Open &) { return runFromMemory(); } },
    { "fork", [](const Open &) { return hasStarted(fork()); } },
    { "fork with clone",
      [](const Open &) { return hasStarted(static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0))); } },
    { "fork with clone3",
      [](const Open &) {
          clone_args clone = {};
          clone.exit_signal = SIGCHLD;
          return hasStarted(static_cast<pid_t>(syscall(SYS_clone3, &clone, sizeof(clone))));
      } },
    { "start a thread with another network",
      [](const Open &) {
          // If it is allowed, the kernel still returns EINVAL: such a thread must share the signal handlers.
          return isWell(syscall(SYS_clone, CLONE_THREAD | CLONE_NEWNET, 0, 0, 0, 0)) || errno == EINVAL;
      } },
    { "vfork",
      [](const Open &) {
          const pid_t child = vfork();
          if (child == 0)
              _exit(0);
          return isWell(child);
      } },
    { "make memory that runs",
      [](const Open &) {
          return mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
      } },
    { "let memory run",
      [](const Open &) {
          void *memory = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
          return mprotect(memory, 4096, PROT_READ | PROT_EXEC) == 0;
      } },
    // The kernel.
    { "load into the kernel", [](const Open &) { return loadIntoKernel(); } },
    { "prepare a ring", [](const Open &) { return prepareRing(); } },
    { "leave the namespace", [](const Open &) { return unshare(CLONE_NEWUSER) == 0; } },
    // What unpacking needs.
    { "fill a file", fillAFile },
    { "fill a folder", fillAFolder },
    { "clear up", clearUp },
    { "read on", readOn },
    { "work in threads", [](const Open &) { return workInThreads(); } },
    { "catch an exception", [](const Open &) { return catchAnException(); } },
    { "know the time", [](const Open &) { return knowTheTime(); } },
    // What is observed from outside.
    { "abort",
      [](const Open &) -> bool {
          std::fputs("It aborts.\n", stderr);
          std::abort();
      } },
    { "let an exception go", [](const Open &) -> bool { throw std::runtime_error("nobody catches it"); } },
    { "wait",
      [](const Open &) {
          char end = 0;
          return read(STDIN_FILENO, &end, 1) == 0;
      } },
#ifdef __x86_64__
    { "call like a 32-bit program",
      [](const Open &) {
          long result = 20; // getpid
          asm volatile("int $0x80" : "+a"(result) : : "memory", "r8", "r9", "r10", "r11");
          return isWell(result);
      } },
#endif
};

}

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() != 3 || !attempts.contains(arguments[1]))
        return 2;
    const std::string &with = arguments[0];

    Open all;
    all.path = arguments[2];
    all.parent = getppid();
    all.destination = open((all.path + "/destination").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    all.archive = open((all.path + "/archive").c_str(), O_RDONLY | O_CLOEXEC);
    all.program = open("/bin/true", O_PATH | O_CLOEXEC);
    if (all.destination < 0 || all.archive < 0 || all.program < 0)
        return 2;
    tzset();

    const bool hasLandlock = with == "all" || with == "files";
    const bool hasSeccomp = with == "all" || with == "calls";
    if (with != "all" && with != "nothing" && !doWithout(!hasLandlock, !hasSeccomp))
        return 2;
    const Confinement confinement = with == "nothing" ? Confinement() : confine(all.destination);
    std::printf("In force:%s%s%s%s\n", confinement.noCoreFiles ? "; no core files" : "",
                confinement.noNewPrivileges ? "; no new privileges" : "", confinement.files ? "; files" : "",
                confinement.systemCalls ? "; system calls" : "");
    std::fflush(stdout);
    return attempts.at(arguments[1])(all) ? 0 : 1;
}
