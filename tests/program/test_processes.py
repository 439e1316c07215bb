"""What the launcher's children inherit from it, and what becomes of them when it is killed."""

import os
import shutil
import signal
import time
from pathlib import Path

from launcher_process import PROGRAMS, LauncherCase, is_alive, kill_all, main, wait_for

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
        self.open(XDG_ACTIVATION_TOKEN="token", DESKTOP_STARTUP_ID="launcher_TIME1", LD_LIBRARY_PATH="/of/the/player",
                  QT_PLUGIN_PATH="/of/the/player", EMPTY="", TWO_LINES="one\ntwo", NO_TEXT=os.fsdecode(b"\xff"))
        self.run_game()
        expected = [variable for variable in self.variables(f"/proc/{self.launcher.pid}/environ")
                    if not variable.startswith(USED_UP)]
        self.assertIn(b"NO_TEXT=\xff", expected)
        for file in ("import-environment", "environment"):
            with self.subTest(file):
                self.assertEqual(self.variables(self.installed(file)), expected)

    def test_a_second_start_that_brings_the_window_forward_leaves_no_trace_in_the_games_environment(self):
        self.write(self.game / "play.sh", "cat /proc/$$/environ >environment; exec sleep 60\n")
        self.start_host()
        self.open()
        self.start_again(XDG_ACTIVATION_TOKEN="second", DESKTOP_STARTUP_ID="second_TIME2")
        self.run_game()
        self.assertEqual(self.variables(self.installed("environment")),
                         self.variables(f"/proc/{self.launcher.pid}/environ"))

    def test_the_game_inherits_the_standard_streams_and_nothing_else(self):
        self.write(self.game / "play.sh", f'"{PROGRAMS}/child-report" >report; exec sleep 60\n')
        self.start_host()
        strays = [*os.pipe(), os.open(self.home, os.O_RDONLY), os.open("/dev/zero", os.O_RDONLY)]
        self.open(popen={"pass_fds": strays})
        for stray in strays:
            os.close(stray)
        self.run_game()
        self.assertIn("descriptors: 0 1 2\ninput: 0\nsignals:\n", self.installed("report").read_text())

    def test_a_killed_launcher_leaves_no_unpacker(self):
        self.use_large_engine()
        self.start_host()
        for delay in (0, 0.03):
            with self.subTest(delay):
                self.open()
                self.press("Play")
                unpackers = wait_for(self.engine_unpackers)
                time.sleep(delay)
                self.assertTrue(all(map(is_alive, unpackers)))
                self.kill()
                wait_for(lambda: not any(map(is_alive, unpackers)), 0.5)
                self.assertEqual(self.engines(), [])
                shutil.rmtree(self.root)

    def test_a_killed_launcher_leaves_the_game_to_the_player_and_the_next_one_leaves_it_alone(self):
        self.open_and_run_game()
        first = self.children()
        self.addCleanup(kill_all, first)
        self.kill()
        self.assertTrue(first and all(map(is_alive, first)))
        # A launcher does not control a game that another process started: it shows what is on the disk, and Play starts
        # a second game.
        self.assertEqual(self.open(), "Ready")
        self.run_game()
        second = self.children()
        self.assertTrue(second and not set(second) & set(first))
        self.press("Stop")
        self.assertEqual(self.see("Ready", "Needs something"), "Ready")
        self.assertTrue(all(map(is_alive, first)))

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
            self.assertFalse(self.is_in(self.installed("status"), kind), kind)

    @staticmethod
    def is_in(status, kind):
        """Whether SIGPIPE is in this signal set of a process or thread."""
        fields = dict(line.split(":", 1) for line in status.read_text().splitlines())
        return bool(int(fields[kind], 16) >> (signal.SIGPIPE - 1) & 1)


if __name__ == "__main__":
    main()
