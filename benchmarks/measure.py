#!/usr/bin/python3
"""Runs the measurements of ./bench on a screen that nobody else uses, and prints their table."""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import materials
from cut_host import CutHost
from file_host import FileHost
from screen import Screen
from table import Row, Table, alternate

GAME_PATH = "/Kestrelwood/Vantor/archive/refs/heads/master.zip"
RELEASE_PATH = f"/godotengine/godot-builds/releases/download/{materials.ENGINE_VERSION}-stable/"
WINDOW_PIXELS = 560 * 640


def run(*command, **options):
    """Runs a command that must succeed, and returns its output."""
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))} ended with {done.returncode}")
    return done.stdout


def figures(output):
    """Parses what our programs report: lines like "milliseconds 12.345"."""
    return {name: float(value) for name, value in (line.split() for line in output.splitlines())}


class Bench:
    def __init__(self, programs, engine, folder, scratch, runs):
        self.programs = programs.absolute()
        self.folder = folder.absolute()
        self.scratch_folder = scratch
        self.runs = runs
        self.engine = engine
        self.table = Table()
        self.screen = Screen()
        # Without support for screen readers, and with a game stand-in that does nothing.
        for name in ("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "STAMP", "LINES", "QUIET"):
            os.environ.pop(name, None)

    def program(self, name):
        return self.programs / name

    def scratch(self):
        """A new temporary folder for output."""
        return tempfile.TemporaryDirectory(dir=self.scratch_folder)

    def spawned(self, *command, **options):
        """Runs a command, and returns its milliseconds, processor milliseconds and peak megabytes."""
        return figures(run(self.program("spawn-once"), *command, **options))

    def ready(self):
        """The environment of a returning player, whose engine is the stand-in."""
        project = materials.project(self.folder / "project")
        return dict(os.environ, **materials.launcher_home(self.folder / "ready", project, self.program("game-stand-in")))

    def engine_archive(self):
        return materials.engine_archive(self.folder / "engine.zip", self.engine, 1.0)

    def game_archive(self):
        return materials.game_archive(self.folder / "game.zip", 5000)

    # The window, seen from outside

    def start(self):
        """Start: to the first painted window"""
        environment = self.ready()
        launcher = [self.program("vantor-platformer")]
        self.check_first_picture(launcher, environment)
        ours, theirs = alternate(self.runs, lambda: self.time_to_paint(launcher, environment),
                                 lambda: self.time_to_paint([self.program("empty-window")], environment))
        self.table.add(Row("start, to the first painted window in `ready`", "ms", ours, theirs, "the smallest window", 1.5))

    def time_to_paint(self, command, environment):
        self.screen.forget()
        begin = time.monotonic()
        process = subprocess.Popen(command, env=environment)
        painted = self.screen.first_paint(WINDOW_PIXELS)
        self.end(process)
        return (painted - begin) * 1e3

    def check_first_picture(self, command, environment):
        """Checks that the first paint already says `ready`: the dot in front of the state keeps its colour."""
        self.screen.forget()
        process = subprocess.Popen(command, env=environment)
        self.screen.first_paint(WINDOW_PIXELS)
        _, first = self.screen.picture()
        time.sleep(1)
        _, last = self.screen.picture()
        self.end(process)
        if first.count(READY_DOT) != last.count(READY_DOT) or READY_DOT not in last:
            sys.exit("What is painted first does not say that the launcher is ready.")

    def end(self, process):
        process.terminate()
        process.wait(10)
        while self.screen.windows():
            time.sleep(0.01)

    def memory(self):
        """Resident memory"""
        environment = self.ready()
        launcher = [self.program("vantor-platformer")]
        ours, theirs = alternate(self.runs, lambda: self.resident(launcher, environment),
                                 lambda: self.resident([self.program("empty-window")], environment))
        self.table.add(Row("resident memory in `ready`", "MB", ours, theirs, "the smallest window", 1.35))
        playing = dict(environment, QUIET="1")
        ours, theirs = alternate(self.runs, lambda: self.resident(launcher, playing, plays=True),
                                 lambda: self.resident([self.program("empty-window")], environment))
        self.table.add(Row("resident memory while the game runs", "MB", ours, theirs, "the smallest window", 1.35))

    def resident(self, command, environment, plays=False):
        self.screen.forget()
        process = subprocess.Popen(command, env=environment)
        self.screen.first_paint(WINDOW_PIXELS)
        time.sleep(1)
        if plays:
            self.press_play()
            time.sleep(5)      # the state is `playing` after four seconds
        lines = Path(f"/proc/{process.pid}/status").read_text().splitlines()
        game = run("pgrep", "-P", str(process.pid)).split() if plays else []
        self.end(process)
        if plays and not game:
            sys.exit("The game did not start.")
        return next(int(line.split()[1]) for line in lines if line.startswith("VmRSS")) * 1024 / 1e6

    def press_play(self):
        shape, _ = self.screen.picture()
        return self.screen.press(shape.x + shape.width // 2, shape.y + PLAY_BUTTON)

    def play(self):
        """From the press of Play to the engine's execve"""
        environment = self.ready()
        stamp = self.folder / "stamp"
        environment["STAMP"] = str(stamp)
        ours, theirs = alternate(self.runs, lambda: self.press_to_engine(environment, stamp),
                                 lambda: self.spawn_to_engine(environment, stamp))
        self.table.add(Row("Play, from the press to the engine's start", "ms", ours, theirs, "posix_spawn", 15,
                           kind="more"))

    def press_to_engine(self, environment, stamp):
        stamp.unlink(missing_ok=True)
        self.screen.forget()
        process = subprocess.Popen([self.program("vantor-platformer")], env=environment)
        self.screen.first_paint(WINDOW_PIXELS)
        time.sleep(0.5)
        pressed = self.press_play()
        deadline = time.monotonic() + 5
        while not (stamp.exists() and stamp.read_text().endswith("\n")):
            if time.monotonic() > deadline:
                sys.exit("The press of Play started nothing.")
            time.sleep(0.01)
        self.end(process)
        return (int(stamp.read_text()) - pressed) / 1e6

    def spawn_to_engine(self, environment, stamp):
        output = run(self.program("spawn-once"), self.program("game-stand-in"), env=environment)
        return (int(stamp.read_text()) - int(figures(output)["started"])) / 1e6

    # Downloading and unpacking

    def install(self):
        """The whole installation"""
        archive, game = self.engine_archive(), self.game_archive()
        sums = materials.checksum_list(self.folder / "SHA512-SUMS.txt", archive)
        name = f"{materials.ENGINE_NAME}.zip"
        host = FileHost({GAME_PATH: game, RELEASE_PATH + name: archive, RELEASE_PATH + "SHA512-SUMS.txt": sums})
        engines, games = [], []

        def ours():
            with self.scratch() as home:
                environment = dict(os.environ, XDG_DATA_HOME=home, XDG_CONFIG_HOME=home, QT_QPA_PLATFORM="offscreen")
                took = figures(run(self.program("InstallGame"), host.address, env=environment))
            return took["engine"], took["game"]

        def theirs():
            with self.scratch() as home:
                begin = time.monotonic()
                run("sh", "-ec", f"curl -sfo sums {host.address}{RELEASE_PATH}SHA512-SUMS.txt; "
                    f"curl -sfo {name} {host.address}{RELEASE_PATH}{name}; sha512sum --status -c sums; "
                    f"unzip -q {name} -d engine", cwd=home)
                between = time.monotonic()
                run("sh", "-ec", f"curl -sfo game.zip {host.address}{GAME_PATH}; unzip -q game.zip -d game", cwd=home)
                return (between - begin) * 1e3, (time.monotonic() - between) * 1e3

        ours_both, theirs_both = alternate(self.runs, ours, theirs)
        host.close()
        for index, what, goal in ((0, "the engine", 0.42), (1, "a game of 5,000 files", 0.36)):
            self.table.add(Row(f"install {what}: download, check, unpack", "ms", [pair[index] for pair in ours_both],
                               [pair[index] for pair in theirs_both], "curl, sha512sum, unzip", goal))

    def download(self):
        """A download alone"""
        file = materials.noughts(self.folder / "noughts-400", 400_000_000)
        nothing = materials.noughts(self.folder / "noughts-0", 0)
        host = FileHost({"/file": file, "/nothing": nothing})

        def ours():
            with self.scratch() as home:
                took = figures(run(self.program("DownloadFile"), f"{host.address}/file", f"{home}/file"))
            return took["milliseconds"], took["processor"]

        def theirs():
            with self.scratch() as home:
                whole = self.spawned("curl", "-sfo", f"{home}/file", f"{host.address}/file")
                start = self.spawned("curl", "-sfo", f"{home}/nothing", f"{host.address}/nothing")
            return tuple(whole[name] - start[name] for name in ("milliseconds", "processor"))

        ours_both, theirs_both = alternate(self.runs, ours, theirs)
        host.close()
        for index, what in ((0, "time"), (1, "processor time")):
            self.table.add(Row(f"download 400 MB: {what}", "ms", [pair[index] for pair in ours_both],
                               [pair[index] for pair in theirs_both], "curl -o", 1.1))

    def resume(self):
        """Downloading over a connection that is cut"""
        host = CutHost(materials.noughts(self.folder / "noughts-400", 400_000_000), 25_000_000)

        # Nobody waits between two connections: our pauses are zero, and curl is started again at once. Its own --retry
        # throws away what has arrived, also with -C -.
        def ours():
            with self.scratch() as folder:
                return figures(run(self.program("DownloadFile"), host.address, f"{folder}/file", "0"))["milliseconds"]

        def theirs():
            with self.scratch() as folder:
                times = run("sh", "-c", "for try in $(seq 20); do "
                            f"curl -sfo {folder}/file -C - -w '%{{time_total}}\n' {host.address} && exit; done; exit 1")
                return sum(map(float, times.split())) * 1e3      # without the starts of the program

        ours_both, theirs_both = alternate(self.runs, lambda: host.count(ours), lambda: host.count(theirs))
        host.close()
        for index, what, unit, goal in ((0, "time", "ms", 1.2), (1, "bytes sent", "MB", 1.1)):
            self.table.add(Row(f"download 400 MB, cut every 25 MB: {what}", unit, [pair[index] for pair in ours_both],
                               [pair[index] for pair in theirs_both], "curl -C -, again and again", goal))

    def hash(self):
        """SHA-512"""
        file = materials.noughts(self.folder / "noughts-400", 400_000_000)
        nothing = materials.noughts(self.folder / "noughts-0", 0)

        def theirs():
            whole = self.spawned("openssl", "dgst", "-sha512", "-out", "/dev/null", file)
            start = self.spawned("openssl", "dgst", "-sha512", "-out", "/dev/null", nothing)
            return whole["milliseconds"] - start["milliseconds"]

        ours, theirs = alternate(self.runs, lambda: figures(run(self.program("HashFile"), file))["milliseconds"], theirs)
        self.table.add(Row("SHA-512 of 400 MB", "ms", ours, theirs, "openssl dgst", 1.05))

    def unpack(self):
        """Unpacking alone"""
        archives = (("the engine", self.engine_archive(), {"all": (0.28, 0.58), "one": (0.35, 0.70)}),
                    ("a game of 5,000 files", self.game_archive(), {"all": (0.28, 0.42), "one": (0.42, 0.62)}))
        processor = str(min(os.sched_getaffinity(0)))
        for processors, where, bound in (("all", "", ()), ("one", " on one processor", ("taskset", "-c", processor))):
            for what, archive, goals in archives:
                ours, unzip, bsdtar = alternate(self.runs, *(self.unpacking(tool, archive) for tool in (
                    lambda file, folder: (*bound, self.program("vantor-unpack"), "-x", "-k", file, folder),
                    lambda file, folder: (*bound, "unzip", "-q", file, "-d", folder),
                    lambda file, folder: (*bound, "bsdtar", "-x", "-f", file, "-C", folder))))
                unzip_goal, bsdtar_goal = goals[processors]
                self.table.add(Row(f"unpack {what}{where}", "ms", ours, unzip, "unzip -q", unzip_goal))
                self.table.add(Row(f"unpack {what}{where}", "ms", ours, bsdtar, "bsdtar -x", bsdtar_goal))

    def unpacking(self, tool, archive, figure="milliseconds"):
        def once():
            with self.scratch() as folder:
                return self.spawned(*tool(archive, folder))[figure]
        return once

    # A game that runs

    def lines(self):
        """A game that prints"""
        ready = self.ready()

        def ours(lines):
            return figures(run(self.program("PrintLines"), env=dict(ready, LINES=str(lines))))

        def theirs():
            program = [self.program("PlainTextLines"), self.program("game-stand-in")]
            return figures(run(*program, env=dict(ready, LINES="100000")))["milliseconds"]

        some, others, many = alternate(self.runs, lambda: ours(100_000)["milliseconds"], theirs, lambda: ours(1_000_000))
        self.table.add(Row("100,000 lines into the open log", "ms", some, others, "QPlainTextEdit", 0.5))
        self.table.add(Row("longest gap between two turns during 1,000,000 lines", "ms", [one["gap"] for one in many], goal=20))
        self.table.add(Row("memory above idle meanwhile", "MB", [one["memory"] for one in many], goal=32))

    def quiet(self):
        """A game that prints nothing"""
        environment = dict(self.ready(), QUIET="1")
        seconds = 20 if self.runs >= 7 else 5
        for log in ("closed", "open"):
            took = [figures(run(self.program("RunQuietly"), str(seconds), log, env=environment))
                    for _ in range(min(self.runs, 3))]
            self.table.add(Row(f"wake-ups a second while a quiet game runs, log {log}", "", [one["wakeups"] for one in took],
                               goal=1))
            self.table.add(Row(f"processor meanwhile, log {log}", "%", [one["processor"] for one in took], goal=0.05))

    def log(self):
        """The log panel"""
        environment = self.ready()
        took = [figures(run(self.program("OpenLog"), env=environment))["milliseconds"] for _ in range(self.runs)]
        self.table.add(Row("log panel opened on 3,000 lines: first paint", "ms", took, goal=30))

    # Folders and files

    def size(self):
        """Folder sizes"""
        tree = materials.folder_tree(self.folder / "tree-100000", 100_000)
        gaps = []

        def ours():
            took = figures(run(self.program("FolderSize"), tree))
            gaps.append(took["gap"])
            return took["milliseconds"]

        ours, theirs = alternate(self.runs, ours, lambda: self.spawned("du", "-s", tree)["milliseconds"])
        self.table.add(Row("size of a tree of 100,000 files", "ms", ours, theirs, "du -s", 1.0))
        self.table.add(Row("longest gap between two turns meanwhile", "ms", gaps, goal=50))

    def read(self):
        """Reading a project"""
        project = materials.project(self.folder / "project")
        files = [project / "README.md", project / "LICENSE", *sorted((project / "scripts").iterdir())]
        ours, theirs = alternate(self.runs, lambda: figures(run(self.program("ReadProject"), project))["milliseconds"],
                                 lambda: self.spawned("cat", *files)["milliseconds"])
        self.table.add(Row("reading a project with 201 scripts", "ms", ours, theirs, "cat", 5, kind="more"))

    # Ten times as much

    def growth(self):
        """Growth"""
        small = materials.engine_archive(self.folder / "engine-tenth.zip", self.engine, 0.1)
        self.grow("unpacking an archive ten times as large", self.vantor_unpack(self.engine_archive()),
                  self.vantor_unpack(small))
        many = materials.game_archive(self.folder / "game-50000.zip", 50_000)
        self.grow("unpacking ten times as many files", self.vantor_unpack(many), self.vantor_unpack(self.game_archive()),
                  memory=24 + 50_000 * 200e-6)
        environment = self.ready()

        def printed(lines):
            def once():
                took = figures(run(self.program("PrintLines"), env=dict(environment, LINES=str(lines))))
                return took["milliseconds"], took["peak"]
            return once

        self.grow("ten times as many lines", printed(1_000_000), printed(100_000))
        trees = [materials.folder_tree(self.folder / f"tree-{files}", files) for files in (100_000, 10_000)]
        self.grow("the size of ten times as many files", *(self.own(self.program("FolderSize"), tree) for tree in trees))
        files = [materials.noughts(self.folder / f"noughts-{size}", size * 1_000_000) for size in (400, 40)]
        self.grow("SHA-512 of a file ten times as large", *(self.own(self.program("HashFile"), file) for file in files))

    def vantor_unpack(self, archive):
        def once():
            with self.scratch() as folder:
                took = self.spawned(self.program("vantor-unpack"), "-x", "-k", archive, folder)
            return took["milliseconds"], took["peak"]
        return once

    def own(self, program, argument):
        """A measurement with a program of ours that times itself; its memory is measured from outside."""
        def once():
            peak = self.spawned(program, argument)["peak"]
            return figures(run(program, argument))["milliseconds"], peak
        return once

    def grow(self, what, large, small, memory=None):
        """Adds time and memory for a large and a small input. With `memory`, in megabytes, that is the limit, not the growth."""
        larges, smalls = alternate(self.runs, large, small)
        self.table.add(Row(f"{what}: time", "ms", [pair[0] for pair in larges], [pair[0] for pair in smalls], "a tenth", 11))
        peaks = [pair[1] for pair in larges]
        if memory:
            self.table.add(Row(f"{what}: memory", "MB", peaks, goal=memory))
        else:
            self.table.add(Row(f"{what}: memory", "MB", peaks, [pair[1] for pair in smalls], "a tenth", 1.1))


SUBJECTS = ("start", "memory", "play", "install", "download", "resume", "hash", "unpack", "lines", "quiet", "size", "read", "log",
            "growth")
# The middle of the button, in pixels from the top of the window. A press that starts nothing is reported.
PLAY_BUTTON = 362
READY_DOT = bytes([0x4a, 0x9e, 0x2c])      # blue, green, red


def engine_program(launcher_of_it):
    """The engine's executable, also if `launcher_of_it` is only a script that starts it."""
    inside = launcher_of_it.resolve().parent / "root" / "usr" / "bin" / "godot"
    return inside if inside.exists() else launcher_of_it


def memory_folder():
    """A folder in memory, so that the disk is not measured as well; None if there is no room for one."""
    folder = Path("/dev/shm")
    return folder if folder.is_dir() and shutil.disk_usage(folder).free > 2_000_000_000 else None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--programs", type=Path, required=True)
    parser.add_argument("--engine", type=Path, required=True)
    parser.add_argument("--folder", type=Path, required=True)
    parser.add_argument("--scratch", type=Path, default=memory_folder())
    parser.add_argument("--runs", type=int, default=11)
    parser.add_argument("subjects", nargs="*", metavar="SUBJECT", help=", ".join(SUBJECTS))
    options = parser.parse_args()
    for subject in options.subjects:
        if subject not in SUBJECTS:
            parser.error(f"nothing is measured under the name of {subject}: there are {', '.join(SUBJECTS)}")
    options.folder.mkdir(parents=True, exist_ok=True)
    bench = Bench(options.programs, engine_program(options.engine), options.folder, options.scratch or options.folder,
                  options.runs)
    for subject in options.subjects or SUBJECTS:
        measure = getattr(bench, subject)
        print(f"-- {measure.__doc__}", flush=True)
        measure()
    bench.table.write(options.folder)
    print(bench.table.text())


if __name__ == "__main__":
    main()
