"""Every way to quit the launcher, at every moment: within a second it has ended and left no children or temporary
files."""

import os
import shutil
import signal
import socket
import threading
import time

from launcher_process import LONG, LauncherCase, children_of, is_alive, kill_all, main, wait_for

SOON = 1.0 + 0.5     # a second, plus the time that the test needs to notice
QUESTION = "The game is still running"


class StuckBus:
    """Forwards to the session bus until `get_stuck` is called; from then on, new connections get no answer."""

    def __init__(self, path):
        self.real = os.environ["DBUS_SESSION_BUS_ADDRESS"].removeprefix("unix:path=").partition(",")[0]
        self.address = f"unix:path={path}"
        self.is_stuck = False
        self.unanswered = []
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(path))
        self.listener.listen()
        threading.Thread(target=self.serve, daemon=True).start()

    def get_stuck(self):
        self.is_stuck = True

    def serve(self):
        while True:
            client, _ = self.listener.accept()
            if self.is_stuck:
                self.unanswered.append(client)
                continue
            bus = socket.socket(socket.AF_UNIX)
            bus.connect(self.real)
            for source, target in ((client, bus), (bus, client)):
                threading.Thread(target=self.pass_on, args=(source, target), daemon=True).start()

    @staticmethod
    def pass_on(source, target):
        while content := source.recv(65536):
            target.sendall(content)
        target.shutdown(socket.SHUT_WR)


class WaysOut(LauncherCase):
    def verify_gone_soon(self, leave):
        """Quits, and verifies that nothing is left."""
        children = children_of(self.launcher.pid)
        begin = time.monotonic()
        leave()
        status = self.launcher.wait(LONG)
        self.assertLess(time.monotonic() - begin, SOON)
        self.assertEqual(status, 0)
        self.assertEqual([command for child, command in children.items() if is_alive(child)], [])
        self.assertEqual(self.scratch(), [])
        self.assertEqual(self.printed(), "")

    def every_way(self, reach, state):
        for way in (None, signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(way or "closing the window"):
                self.open()
                reach()
                self.verify_gone_soon(lambda: self.launcher.send_signal(way) if way else self.close_window())
        self.assertEqual(self.open(), state)

    def play_until(self, step, condition):
        self.press("Play")
        self.see(step)
        wait_for(condition)

    def test_with_nothing_to_do(self):
        self.start_host()
        self.every_way(lambda: None, "Not downloaded")

    def test_while_the_game_downloads(self):
        self.start_slow_host()
        self.every_way(lambda: self.play_until("Step 1 of 4: downloading the game", self.scratch), "Not downloaded")
        self.assertFalse((self.root / "Game").exists())

    def test_while_the_engine_downloads(self):
        self.write(self.engine, "not a script\n" + os.urandom(400000).hex())
        self.start_host("--slow", "100000")
        self.every_way(lambda: self.play_until("Step 2 of 4: downloading Godot 4.6", self.scratch), "Not downloaded")
        self.assertEqual(self.engines(), [])

    def test_while_the_engine_is_unpacked(self):
        self.use_large_engine()
        self.start_host()
        self.open()
        self.press("Play")
        wait_for(self.engine_unpackers)
        self.verify_gone_soon(self.close_window)
        self.assertEqual(self.open(), "Not downloaded")
        self.assertEqual(self.engines(), [])

    def test_while_the_game_is_imported(self):
        self.write(self.game / "import.sh", "mkdir -p .godot; exec sleep 60\n")
        self.start_host()
        self.every_way(lambda: self.play_until("Setting up", lambda: self.children("sleep")), "Not downloaded")
        self.assertEqual(list((self.root / "Game").glob(".imported-*")), [])

    def test_a_signal_while_the_game_runs_asks_nobody(self):
        self.open_and_run_game()
        self.verify_gone_soon(self.launcher.terminate)
        self.assertEqual(self.open(), "Ready")

    def test_a_desktop_that_does_not_answer_keeps_nobody(self):
        bus = StuckBus(self.home / "bus")
        self.root.mkdir(parents=True)
        self.start_host()
        self.open(DBUS_SESSION_BUS_ADDRESS=bus.address)
        bus.get_stuck()
        self.press("Settings…")
        self.press("Reveal in Finder")
        wait_for(lambda: bus.unanswered)
        self.verify_gone_soon(self.launcher.terminate)

    def test_an_engine_that_does_not_end_keeps_nobody(self):
        stubborn = "trap '' TERM; while :; do sleep 1; done\n"
        for script, state in (("import.sh", "Setting up"), ("play.sh", "Starting…")):
            with self.subTest(state):
                self.write(self.game / script, stubborn)
                self.start_host()
                self.open()
                self.press("Play")
                self.see(state)
                engines = wait_for(lambda: self.children("standing-engine"))
                self.addCleanup(kill_all, self.children())
                begin = time.monotonic()
                self.quit()
                self.assertLess(time.monotonic() - begin, SOON)
                self.assertEqual(self.printed(), "")
                # A game may hold unsaved progress, so it keeps running; an import can be repeated.
                self.assertEqual([is_alive(engine) for engine in engines], [script == "play.sh"])
                self.write(self.game / script, "mkdir -p .godot/imported\n")
                shutil.rmtree(self.root)

    def test_closing_while_the_game_runs_asks_once_and_keep_playing_keeps_it(self):
        self.open_and_run_game()
        self.see("Playing")
        self.close_window()
        self.see(QUESTION)
        self.assertIn("Quitting will close the game too. Quit anyway?", self.driver.texts())
        self.close_window()      # does not ask again
        self.press("Keep Playing")
        self.see_no_more(QUESTION)
        self.assertIsNone(self.launcher.poll())
        self.assertEqual(self.driver.state(), "Playing")
        self.assertTrue(self.children())

        self.close_window()
        self.see("Quit")
        self.verify_gone_soon(lambda: self.press("Quit"))
        self.assertEqual(self.open(), "Ready")

    def test_a_window_that_a_sheet_covers_can_be_closed(self):
        self.start_host()
        for sheet in ("Settings…", "About"):
            with self.subTest(sheet):
                self.open()
                window = self.window()
                self.press(sheet)
                self.see("Done")
                self.verify_gone_soon(lambda: self.screen.close(window))

    def test_a_covered_window_asks_over_its_sheet_while_the_game_runs(self):
        self.open_and_run_game()
        window = self.window()
        self.press("About")
        self.see("Done")
        self.screen.close(window)
        self.see(QUESTION)
        self.press("Keep Playing")
        self.see_no_more(QUESTION)
        self.assertIn("Done", self.driver.texts())
        self.screen.close(window)
        self.verify_gone_soon(lambda: self.press("Quit"))

    def test_a_game_that_ends_during_the_question_lets_the_launcher_end(self):
        self.open_and_run_game()
        self.close_window()
        self.see(QUESTION)
        for child in self.children():
            os.kill(child, signal.SIGTERM)
        self.assertEqual(self.launcher.wait(LONG), 0)


if __name__ == "__main__":
    main()
