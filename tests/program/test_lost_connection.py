"""A press of Play over a bad connection, and a launcher that is killed while it waits to try again."""

import os
import re

from launcher_process import LauncherCase, main, wait_for

LOST = re.compile(r"The connection was lost at [0-9.]+ [kM]B; trying again in ([124]) seconds?\.")


class LostConnection(LauncherCase):
    def setUp(self):
        super().setUp()
        # A program and not a script, so that the archive is of some size. It is never started here.
        self.engine.write_bytes(b"\x7fELF" + os.urandom(4_000_000))

    def log(self):
        control = self.driver.find("Log")
        return control.text if control else ""

    def test_one_press_is_enough_when_the_connection_is_cut(self):
        # The game is cut once and is then too small for the next place; the engine is cut three times.
        self.start_host("--cut", "100,100000000,1000000,2000000,3000000")
        self.open()
        self.show_log()
        self.press("Play")
        lines = wait_for(lambda: "Unpacking the engine" in self.log() and self.log()).splitlines()
        self.assertIn("The connection was lost at 100 bytes; trying again in 1 second, from the beginning.", lines)
        self.assertEqual([line for line in lines if LOST.fullmatch(line)],
                         [f"The connection was lost at {place} MB; trying again in 1 second." for place in (1, 2, 3)])
        self.assertIn("Checksum matches", lines)

    def test_a_launcher_that_is_killed_while_it_waits_leaves_nothing_that_the_next_one_keeps(self):
        # The game comes whole. The engine is cut, and the rest of it never begins.
        self.start_host("--cut", "100000000,1000000", "--cut-every", "0")
        self.open()
        self.show_log()
        self.press("Play")
        # The longest pause.
        wait_for(lambda: "trying again in 4 seconds" in self.log())
        self.assertEqual(self.driver.state(), "Downloading")
        self.assertTrue(self.scratch())
        self.kill()
        self.assertEqual(self.open(), "Not downloaded")
        wait_for(lambda: self.scratch() == [])
        self.assertFalse((self.root / "Engine").exists() and any((self.root / "Engine").iterdir()))


if __name__ == "__main__":
    main()
