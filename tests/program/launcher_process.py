"""Runs the launcher as a process and uses it over the accessibility bus. Shared by the tests in this folder and the
end-to-end tests."""

import contextlib
import importlib.machinery
import importlib.util
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from Xlib import XK, X, display, error
from Xlib.ext import xtest
from Xlib.protocol.event import ClientMessage

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))
from local_launcher import LONG, PROGRAMS, PROJECT, PROJECT_FILE, CodeHost, environment


DRIVER = importlib.machinery.SourceFileLoader("at_spi", str(PROJECT / "tools" / "at-spi"))
at_spi = importlib.util.module_from_spec(importlib.util.spec_from_loader("at_spi", DRIVER))
DRIVER.exec_module(at_spi)

STANDING_ENGINE = """#!/bin/sh
for argument; do
    [ "$previous" = --path ] && project=$argument
    case $argument in --import|--no-window) import=yes;; esac
    previous=$argument
done
cd "$project" || exit 9
if [ "$import" ]; then . ./import.sh; else . ./play.sh; fi
"""


def status_of(process):
    """The state of a process and its parent; those of a zombie once it is gone."""
    try:
        state, parent = Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[:2]
        return state, int(parent)
    except OSError:
        return "Z", 0


def is_alive(process):
    return status_of(process)[0] != "Z"


def children_of(process):
    """The command lines of all living descendants of `process`, by process ID."""
    statuses = {int(folder.name): status_of(folder.name) for folder in Path("/proc").glob("[0-9]*")}
    below, found = {process}, {}
    while new := {child for child, (state, parent) in statuses.items()
                  if parent in below and child not in below and state != "Z"}:
        below |= new
        for child in new:
            with contextlib.suppress(OSError):
                found[child] = Path(f"/proc/{child}/cmdline").read_text().replace("\0", " ")
    return found


def kill_all(processes):
    for process in processes:
        with contextlib.suppress(OSError):
            os.kill(process, signal.SIGKILL)


def wait_for(question, seconds=LONG):
    end = time.monotonic() + seconds
    while not (answer := question()):
        if time.monotonic() > end:
            raise AssertionError(f"{question} was not answered within {seconds} seconds")
        time.sleep(0.02)
    return answer


class Screen:
    """The display that the test runs on, without a window manager."""

    def __init__(self):
        self.display = display.Display()
        self.root = self.display.screen().root

    def windows(self, process):
        """The visible windows of `process`, the lowest first."""
        return [window for window in self.stack() if self.owner(window) == process]

    def stack(self):
        """Every visible window, the lowest first."""
        return list(filter(self.is_visible, self.root.query_tree().children))

    def is_visible(self, window):
        with contextlib.suppress(error.BadWindow):
            return window.get_attributes().map_state == X.IsViewable

    def owner(self, window):
        with contextlib.suppress(error.BadWindow):
            number = window.get_full_property(self.display.get_atom("_NET_WM_PID"), X.AnyPropertyType)
            return number.value[0] if number else None

    def colour(self, x, y):
        """What is seen there, as 0xrrggbb."""
        pixel = self.root.get_image(x, y, 1, 1, X.ZPixmap, 0xffffffff).data
        return int.from_bytes(pixel[:3], "little")

    def icon_sizes(self, window):
        """The widths of the pictures that a task bar can show for the window."""
        icon = window.get_full_property(self.display.get_atom("_NET_WM_ICON"), X.AnyPropertyType)
        numbers, widths = list(icon.value) if icon else [], []
        while numbers:
            width, height = numbers[:2]
            widths.append(width)
            del numbers[:2 + width * height]
        return widths

    def close(self, window):
        request = (self.display.get_atom("WM_DELETE_WINDOW"), X.CurrentTime, 0, 0, 0)
        window.send_event(ClientMessage(window=window, client_type=self.display.get_atom("WM_PROTOCOLS"),
                                        data=(32, request)))
        self.display.flush()

    def cover(self):
        """Opens a window over everything else and returns it."""
        window = self.root.create_window(0, 0, 1280, 800, 0, X.CopyFromParent)
        window.map()
        self.display.sync()
        return window

    def focused(self):
        """The window that has the keyboard focus."""
        return self.display.get_input_focus().focus

    def strike(self, key):
        """Presses and releases a key."""
        code = self.display.keysym_to_keycode(XK.string_to_keysym(key))
        for type in (X.KeyPress, X.KeyRelease):
            xtest.fake_input(self.display, type, code)
        self.display.sync()

    def clipboard(self):
        """The copied text, as another program receives it."""
        names = [self.display.get_atom(name) for name in ("CLIPBOARD", "UTF8_STRING", "PASTED")]
        window = self.root.create_window(0, 0, 1, 1, 0, X.CopyFromParent)
        window.convert_selection(*names, X.CurrentTime)
        while True:
            event = self.display.next_event()
            if event.type == X.SelectionNotify:
                break
        content = window.get_full_property(names[2], X.AnyPropertyType)
        window.destroy()
        return content.value.decode() if content else None


# What Qt says, in different versions, when a screen reader asks for a control that has just been destroyed. Our driver does:
# it lists the windows, and while it reads the first one the second one may be closed. The next list no longer has it.
ASKED_TOO_LATE = re.compile(r"^qt\.accessibility\.atspi: (Could not find accessible on path: "
                            r"|WARNING Qt AtSpiAdaptor: Accessible invalid: ).*\n", re.MULTILINE)


class LauncherCase(unittest.TestCase):
    """A player on a fresh machine, with a stand-in game and engine unless the test brings real ones."""

    def setUp(self):
        self.home = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.home, ignore_errors=True)
        self.environment = environment(self.home)
        self.root = self.home / "data" / "Vantor Platformer"
        self.game = self.home / "repository"
        self.engine = self.home / "standing-engine"
        self.write(self.game / "project.godot", PROJECT_FILE.format(line=5))
        self.write(self.game / "import.sh", "mkdir -p .godot; echo imported; touch .godot/imported\n")
        self.write(self.game / "play.sh", 'echo playing "$@"; exec sleep 60\n')
        self.write(self.engine, STANDING_ENGINE)
        self.engine.chmod(0o755)
        self.host = None
        self.driver = at_spi.Launcher()
        self.screen = Screen()
        self.addCleanup(self.screen.display.close)

    def write(self, path, content):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content)

    # The code host and the launcher

    def start_host(self, *options):
        self.stop_host()
        self.host = CodeHost(self.game, self.engine, *options)
        self.addCleanup(self.stop_host)
        self.address = self.host.address

    def start_slow_host(self):
        """A code host that does not come to the end of the game within the time of a test."""
        self.write(self.game / "level", os.urandom(200000).hex())
        self.start_host("--slow", "20000")

    def stop_host(self):
        if self.host:
            self.host.close()
            self.host = None

    def start(self, popen={}, **variables):
        """Starts the launcher with more variables in its environment, and keeps what it prints."""
        printed = tempfile.TemporaryFile(mode="w+")
        self.addCleanup(printed.close)
        launcher = subprocess.Popen([PROGRAMS / "vantor-platformer-local", self.address],
                                    env=self.environment | variables, stdin=subprocess.DEVNULL,
                                    stdout=printed, stderr=subprocess.STDOUT, **popen)
        launcher.printed = printed
        self.addCleanup(self.end, launcher)
        self.launcher = launcher
        return launcher

    def open(self, **how):
        """Starts the launcher and waits for its window."""
        launcher = self.start(**how)

        def state():
            if launcher.poll() is not None:
                self.fail(f"The launcher ended with status {launcher.returncode}: {self.printed()}")
            return self.driver.state()
        return wait_for(state)

    def start_again(self, **variables):
        """Starts a second launcher, which has to end in favour of the first one, and returns it."""
        first = self.launcher
        second = self.start(**variables)
        self.launcher = first
        self.assertEqual(second.wait(LONG), 0)
        return second

    def printed(self, launcher=None):
        file = (launcher or self.launcher).printed
        file.seek(0)
        return ASKED_TOO_LATE.sub("", file.read())

    def quit(self):
        """Ends the launcher, which has to succeed."""
        self.launcher.terminate()
        self.assertEqual(self.launcher.wait(LONG), 0)

    def kill(self):
        self.launcher.kill()
        self.launcher.wait()

    @staticmethod
    def end(launcher):
        kill_all(children_of(launcher.pid))
        if launcher.poll() is None:
            launcher.kill()
        launcher.wait()

    # What a person does and sees

    def press(self, name):
        self.driver.press(name, LONG)

    def see(self, *texts):
        return self.driver.wait(*texts, seconds=LONG)

    def see_no_more(self, text):
        self.driver.wait_gone(text, LONG)

    def play(self):
        self.press("Play")
        return self.see("Playing", "Needs something")

    def run_game(self):
        """Presses Play and waits until the game runs. The window says "Playing" some seconds later."""
        self.press("Play")

        def runs():
            self.assertNotEqual(self.driver.state(), "Needs something")
            return self.driver.state() in ("Starting…", "Playing") and self.children("^sleep 60")
        wait_for(runs)

    def open_and_run_game(self):
        self.start_host()
        self.open()
        self.run_game()

    def use_large_engine(self):
        """Takes long to unpack: small as an archive, large on the disk."""
        self.engine.write_bytes(b"".join(os.urandom(1 << 16) + bytes(7 << 20) for _ in range(32)))

    def show_log(self):
        self.press("Show log")
        self.see("Log")

    def close_sheet(self):
        self.press("Done")
        self.see_no_more("Done")

    def open_and_close(self, sheet):
        self.press(sheet)
        self.close_sheet()

    def children(self, pattern=""):
        """The launcher's living descendants whose command lines match the regular expression."""
        return [child for child, command in children_of(self.launcher.pid).items() if re.search(pattern, command)]

    def engine_unpackers(self):
        """They are recognised by their target: the archive is passed without its name."""
        return self.children("vantor-unpack -x.*/engine *$")

    def window(self):
        return self.screen.windows(self.launcher.pid)[0]

    def close_window(self):
        """Asks the window to close, as a window manager does."""
        self.screen.close(self.window())

    # What is on the disk

    def installed(self, name):
        """A file of the installed game."""
        return self.root / "Game" / name

    def engines(self):
        return list((self.root / "Engine").glob("*"))

    def scratch(self):
        return sorted((self.root / "Temp").glob("*"))


def main():
    unittest.main(verbosity=2, warnings="ignore")    # the accessibility bus's bindings cause warnings
