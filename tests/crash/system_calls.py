"""Runs a program and intercepts each of its system calls that changes the disk or starts a process: each can be let
through, made to fail, or be the last thing that the program does.

It uses the kernel's seccomp notifications. Unlike `strace -e inject`, which counts calls per thread, they report the calls
of all threads and child processes in one order, so that "call number N" is one moment, and every moment can be tested in
turn. They also work where ptrace is forbidden, and cost little.
"""

import ctypes
import errno
import fcntl
import os
import platform
import re
import select
import signal
import socket
import struct
import subprocess
import threading

NUMBERS = {
    "x86_64": dict(
        open=2, openat=257, creat=85, write=1, pwrite64=18, writev=20, pwritev=296, ftruncate=77, fallocate=285,
        fsync=74, fdatasync=75, close=3, rename=82, renameat=264, renameat2=316, unlink=87, unlinkat=263, rmdir=84,
        mkdir=83, mkdirat=258, symlink=88, symlinkat=266, link=86, linkat=265, chmod=90, fchmod=91, fchmodat=268,
        utimensat=280, copy_file_range=326, clone=56, clone3=435, fork=57, vfork=58, execve=59, seccomp=317),
    "aarch64": dict(
        openat=56, write=64, pwrite64=68, writev=66, pwritev=70, ftruncate=46, fallocate=47, fsync=82, fdatasync=83,
        close=57, renameat=38, renameat2=276, unlinkat=35, mkdirat=34, symlinkat=36, linkat=37, fchmod=52, fchmodat=53,
        utimensat=88, copy_file_range=285, clone=220, clone3=435, execve=221, seccomp=277),
}.get(platform.machine(), {})
NAMES = {number: name for name, number in NUMBERS.items() if name != "seccomp"}

# Which arguments name what a call acts on: its paths (each with the descriptor of its base folder), or its descriptor.
PATHS = dict(open=[(None, 0)], creat=[(None, 0)], openat=[(0, 1)], rename=[(None, 0), (None, 1)],
             renameat=[(0, 1), (2, 3)], renameat2=[(0, 1), (2, 3)], unlink=[(None, 0)], unlinkat=[(0, 1)],
             rmdir=[(None, 0)], mkdir=[(None, 0)], mkdirat=[(0, 1)], symlink=[(None, 1)], symlinkat=[(1, 2)],
             link=[(None, 0), (None, 1)], linkat=[(0, 1), (2, 3)], chmod=[(None, 0)], fchmodat=[(0, 1)],
             utimensat=[(0, 1)], execve=[(None, 0)])
FILES = dict(write=0, pwrite64=0, writev=0, pwritev=0, ftruncate=0, fallocate=0, fsync=0, fdatasync=0, close=0,
             fchmod=0, copy_file_range=2)
STARTS = {"clone", "clone3", "fork", "vfork", "execve"}

CLONE_THREAD = 0x10000
WRITING = os.O_WRONLY | os.O_RDWR | os.O_CREAT | os.O_TRUNC
AT_FDCWD = -100

# linux/seccomp.h and linux/filter.h
SET_MODE_FILTER, NEW_LISTENER, PR_SET_NO_NEW_PRIVS = 1, 8, 38
ALLOW, NOTIFY = 0x7fff0000, 0x7fc00000
RECEIVE, SEND = 0xc0502100, 0xc0182101
CONTINUE = 1
QUESTION = struct.Struct("=QIIiIQ6Q")
ANSWER = struct.Struct("=QqiI")
LOAD, JUMP_IF_EQUAL, RETURN = 0x20, 0x15, 0x06

UNIQUE = re.compile(r"[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}")

libc = ctypes.CDLL(None, use_errno=True)


class NotPermitted(Exception):
    """This system does not permit watching a program."""


class _Program(ctypes.Structure):
    _fields_ = [("length", ctypes.c_ushort), ("filter", ctypes.c_char_p)]


def _filter():
    numbers = sorted(NAMES)
    code = [struct.pack("=HBBI", LOAD, 0, 0, 0)]
    for index, number in enumerate(numbers):
        code.append(struct.pack("=HBBI", JUMP_IF_EQUAL, len(numbers) - index, 0, number))
    code += [struct.pack("=HBBI", RETURN, 0, 0, ALLOW), struct.pack("=HBBI", RETURN, 0, 0, NOTIFY)]
    return b"".join(code), len(code)


_CODE, _LENGTH = _filter()
_PROGRAM = _Program(_LENGTH, _CODE)


class Call:
    """One system call: its caller ("launcher", or the name of a child's program), its name, and what it acts on."""

    def __init__(self, who, name, subject, process, launcher):
        self.who, self.name, self.subject = who, name, subject
        self.process, self.launcher = process, launcher

    def __str__(self):
        return f"{self.who}: {self.name} {self.subject}"


class Watched:
    """A running program. `decide` is called on another thread with each Call that starts a process or acts on something
    below `folder`. It returns 0 to let the call through, an errno value to make it fail, or None if it killed the caller."""

    def __init__(self, command, folder, decide, **more):
        if not NAMES:
            raise NotPermitted(f"The system calls of {platform.machine()} are not known here.")
        self.folder = str(folder).rstrip("/")
        self.decide = decide
        self.processes = {}        # thread -> process
        self.programs = {}         # process -> the program that it runs
        self.first = None
        here, there = socket.socketpair()
        thread = threading.Thread(target=self._serve, args=(here,), daemon=True)
        thread.start()
        try:
            self.process = subprocess.Popen(command, preexec_fn=lambda: self._be_watched(there), **more)
        except (OSError, subprocess.SubprocessError) as error:
            raise NotPermitted(f"System calls cannot be watched here: {error}") from error
        finally:
            there.close()

    @staticmethod
    def _be_watched(channel):
        libc.prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0)
        listener = libc.syscall(NUMBERS["seccomp"], SET_MODE_FILTER, NEW_LISTENER, ctypes.byref(_PROGRAM))
        if listener < 0:
            raise OSError(ctypes.get_errno(), "seccomp")
        socket.send_fds(channel, [b"x"], [listener])

    def _serve(self, channel):
        with channel:
            _, descriptors, _, _ = socket.recv_fds(channel, 1, 1)
        if not descriptors:
            return
        listener = descriptors[0]
        poll = select.poll()
        poll.register(listener, select.POLLIN)
        try:
            # Until the last process has ended: a child may outlive the program, and must be able to carry on.
            while not any(events & select.POLLHUP for _, events in poll.poll()):
                self._answer(listener)
        finally:
            os.close(listener)

    def _answer(self, listener):
        question = bytearray(QUESTION.size)
        try:
            fcntl.ioctl(listener, RECEIVE, question)
        except OSError as error:
            if error.errno in (errno.ENOENT, errno.EINTR):     # ended meanwhile
                return
            raise
        identity, thread, _, number, _, _, *arguments = QUESTION.unpack(question)
        error = 0
        try:
            if call := self._describe(thread, NAMES[number], arguments):
                error = self.decide(call)
        except (OSError, ValueError):
            pass        # ended meanwhile
        if error is None:
            return      # an answer might overtake the kill and let the call through
        try:
            fcntl.ioctl(listener, SEND, ANSWER.pack(identity, 0, -error, 0 if error else CONTINUE))
        except OSError as gone:
            if gone.errno != errno.ENOENT:
                raise

    def _describe(self, thread, name, arguments):
        process = self._process(thread)
        if name == "execve":
            path = self._path(thread, None, arguments[0])
            first = self.first is None
            if first:
                self.first = process
            self.programs[process] = "launcher" if first else os.path.basename(path)
            return None if first else Call(self.programs[process], name, os.path.basename(path), process, self.first)
        if self.first is None:
            return None
        who = self.programs.get(process, "child")
        if name in STARTS:
            flags = arguments[0]
            if name == "clone3":
                flags = int.from_bytes(self._memory(thread, arguments[0], 8), "little")
            return None if flags & CLONE_THREAD else Call(who, name, "", process, self.first)
        if name in FILES:
            paths = [self._file(thread, arguments[FILES[name]])]
            if name == "close" and paths[0].startswith(self.folder):
                flags = int(re.search(r"flags:\s*(\d+)", _read(f"/proc/{thread}/fdinfo/{arguments[0]}"))[1], 8)
                if not flags & (os.O_WRONLY | os.O_RDWR):
                    return None
        else:
            if name in ("open", "openat") and not arguments[len(PATHS[name][0]) - (name == "open")] & WRITING:
                return None
            paths = [self._path(thread, None if at is None else arguments[at], arguments[path])
                     for at, path in PATHS[name]]
        if not any(path.startswith(self.folder + "/") for path in paths):
            return None
        below = [UNIQUE.sub("UUID", path[len(self.folder):]) for path in paths]
        return Call(who, name, " -> ".join(below), process, self.first)

    def _process(self, thread):
        if thread not in self.processes:
            self.processes[thread] = int(re.search(r"Tgid:\s*(\d+)", _read(f"/proc/{thread}/status"))[1])
        return self.processes[thread]

    @staticmethod
    def _file(thread, descriptor):
        return os.readlink(f"/proc/{thread}/fd/{descriptor}")

    def _path(self, thread, folder, address):
        path = os.fsdecode(self._memory(thread, address, 4096).split(b"\0", 1)[0]) if address else ""
        if not os.path.isabs(path):
            at = AT_FDCWD if folder is None else struct.unpack("=i", struct.pack("=I", folder & 0xffffffff))[0]
            base = os.readlink(f"/proc/{thread}/cwd") if at == AT_FDCWD else self._file(thread, at)
            path = os.path.join(base, path)
        return os.path.normpath(path)

    @staticmethod
    def _memory(thread, address, length):
        memory = os.open(f"/proc/{thread}/mem", os.O_RDONLY)
        try:
            # Only up to the end of the page, as the next one may not be mapped. The rest is read separately.
            first = min(length, 4096 - address % 4096)
            content = os.pread(memory, first, address)
            if first < length and b"\0" not in content:
                content += os.pread(memory, length - first, address + first)
            return content
        finally:
            os.close(memory)


def _read(path):
    with open(path) as file:
        return file.read()
