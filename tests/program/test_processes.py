"""What the launcher's children inherit from it, and what becomes of them when it is killed."""

import os
import shutil
import signal
import time
from pathlib import Path

from launcher_process import (LONG, PROGRAMS, LauncherCase, children_of, engine_unpackers, is_alive, kill_all, main,
                              wait_for)

# The right to take the focus, which the launcher's own window has used up.
USED_UP = (b"XDG_ACTIVATION_TOKEN=", b"DESKTOP_STARTUP_ID=")


class Processes(LauncherCase):
    @staticmethod
    def variables(file):
        return sorted(Path(file).read_bytes().split(b"\0"))

    def test_the_games_environment_is_the_one_that_the_launcher_was_started_with(self):
        self.write(self.game / "import.sh", "mkdir -p .godot; cat /proc/$$/environ >import-environment\n")
        self.write(self.game / "play.sh", "cat /proc/$$/environ >environment; exec sleep 60\n")
        self.start_host()
        environment = {os.fsencode(name): os.fsencode(value) for name, value in self.environment.items()}
        environment |= {b"XDG_ACTIVATION_TOKEN": b"token", b"DESKTOP_STARTUP_ID": b"launcher_TIME1",
                        b"LD_LIBRARY_PATH": b"/of/the/player", b"QT_PLUGIN_PATH": b"/of/the/player",
                        b"EMPTY": b"", b"TWO_LINES": b"one\ntwo", b"NO_TEXT": b"\xff"}
        self.open(environment=environment)
        self.run_game()
        expected = [variable for variable in self.variables(f"/proc/{self.launcher.pid}/environ")
                    if not variable.startswith(USED_UP)]
        self.assertIn(b"NO_TEXT=\xff", expected)
        for file in ("import-environment", "environment"):
            with self.subTest(file):
                self.assertEqual(self.variables(self.root / "Game" / file), expected)

    def test_a_second_start_that_brings_the_window_forward_leaves_no_trace_in_the_games_environment(self):
        self.write(self.game / "play.sh", "cat /proc/$$/environ >environment; exec sleep 60\n")
        self.start_host()
        self.open()
        first = self.launcher
        second = self.start(dict(self.environment, XDG_ACTIVATION_TOKEN="second", DESKTOP_STARTUP_ID="second_TIME2"))
        self.assertEqual(second.wait(LONG), 0)
        self.launcher = first
        self.run_game()
        self.assertEqual(*map(self.variables, (self.root / "Game" / "environment", f"/proc/{first.pid}/environ")))

    def test_the_game_inherits_the_standard_streams_and_nothing_else(self):
        self.write(self.game / "play.sh", f'"{PROGRAMS}/child-report" >report; exec sleep 60\n')
        self.start_host()
        strays = [*os.pipe(), os.open(self.home, os.O_RDONLY), os.open("/dev/zero", os.O_RDONLY)]
        self.open(pass_fds=strays)
        for stray in strays:
            os.close(stray)
        self.run_game()
        self.assertIn("descriptors: 0 1 2\ninput: 0\nsignals:\n", (self.root / "Game" / "report").read_text())

    def test_a_killed_launcher_leaves_no_unpacker(self):
        self.use_large_engine()
        self.start_host()
        for delay in (0, 0.03):
            with self.subTest(delay):
                self.open()
                self.press("Play")
                unpackers = wait_for(lambda: engine_unpackers(self.launcher.pid))
                time.sleep(delay)
                self.assertTrue(all(map(is_alive, unpackers)))
                self.kill()
                wait_for(lambda: not any(map(is_alive, unpackers)), 0.5)
                self.assertFalse((self.root / "Engine").exists() and any((self.root / "Engine").iterdir()))
                shutil.rmtree(self.root)

    def test_a_killed_launcher_leaves_the_game_to_the_player(self):
        self.open_and_run_game()
        games = children_of(self.launcher.pid)
        self.addCleanup(kill_all, games)
        self.kill()
        self.assertTrue(games and all(map(is_alive, games)))

    def test_the_next_launcher_leaves_the_game_of_a_killed_one_alone(self):
        self.open_and_run_game()
        first = children_of(self.launcher.pid)
        self.addCleanup(kill_all, first)
        self.kill()
        # A launcher does not control a game that another process started: it shows what is on the disk, and Play starts
        # a second game.
        self.assertEqual(self.open(), "Ready")
        self.run_game()
        second = children_of(self.launcher.pid)
        self.assertTrue(second and not second.keys() & first.keys())
        self.press("Stop")
        self.assertEqual(self.see("Ready", "Needs something"), "Ready")
        self.assertTrue(first and all(map(is_alive, first)))

    def test_a_broken_pipe_ends_no_thread_of_the_launcher_and_is_as_usual_for_the_game(self):
        self.write(self.game / "play.sh", "cp /proc/self/status status; exec sleep 60\n")
        self.write(self.game / "big", "".join(map(str, range(100000))))
        self.start_host("--slow", "100")
        self.open()
        self.press("Play")
        self.see("Downloading")
        wait_for(lambda: any((self.root / "Temp").glob("*/game.zip.part")))
        for thread in Path(f"/proc/{self.launcher.pid}/task").iterdir():
            self.assertTrue(self.is_in(thread / "status", "SigIgn"), (thread / "comm").read_text())
        self.press("Cancel")
        self.see("Not downloaded")
        self.start_host()
        self.quit()
        self.open()
        self.run_game()
        for kind in ("SigIgn", "SigBlk"):
            self.assertFalse(self.is_in(self.root / "Game" / "status", kind), kind)

    @staticmethod
    def is_in(status, kind):
        """Whether SIGPIPE is in this signal set of a process or thread."""
        fields = dict(line.split(":", 1) for line in status.read_text().splitlines())
        return bool(int(fields[kind], 16) >> (signal.SIGPIPE - 1) & 1)


if __name__ == "__main__":
    main()
