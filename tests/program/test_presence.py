"""What the launcher does for a player who looks elsewhere: the computer stays awake, a failure and an update call back, the
dock shows the progress. On a desktop whose services are python-dbusmock's."""

import html
import os
import re
import signal
import time

from Xlib import X

from launcher_process import LauncherCase, main, wait_for
from desktop_services import Bus, Dock, Logind, Notifications, OwnBus, Portal

WHY = "Downloading and setting up the game"
HELD = [(4, WHY)]
UPDATED = "The game was updated."


class Presence(LauncherCase):
    def setUp(self):
        super().setUp()
        self.session = Bus(os.environ["DBUS_SESSION_BUS_ADDRESS"])
        self.system = self.until_the_end(OwnBus(self.home / "system-bus"))
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = self.system.address

    def until_the_end(self, what):
        self.addCleanup(what.close)
        return what

    def comes_to(self, question, expected):
        try:
            wait_for(lambda: question() == expected)
        except AssertionError:
            self.assertEqual(question(), expected)

    def start_slow_host(self, *options):
        self.write(self.game / "level", os.urandom(200000).hex())
        self.start_host("--slow", "20000", *options)

    def open_and_look(self):
        self.open()
        self.window = self.screen.windows(self.launcher.pid)[0]
        self.look_back()

    def look_away(self):
        """Gives another program's window the keyboard focus."""
        other = self.screen.cover()
        other.set_input_focus(X.RevertToNone, X.CurrentTime)
        self.screen.display.sync()

    def look_back(self):
        self.window.set_input_focus(X.RevertToNone, X.CurrentTime)
        self.screen.display.sync()

    def fail_to_download(self):
        """Presses Play with a code host that ends during the download."""
        self.start_slow_host("--port", self.address.rpartition(":")[2])
        self.press("Play")
        self.see("Downloading")
        self.stop_host()
        self.see("Needs something")

    def verify_awake(self, service, held):
        self.start_slow_host()
        self.open()
        for way_out in ("Cancel", "failure", "SIGTERM", "SIGKILL"):
            with self.subTest(way_out):
                self.assertEqual(service.held(), [])
                self.press("Play")
                self.comes_to(service.held, held)
                if way_out == "Cancel":
                    self.press("Cancel")
                    self.see("Not downloaded")
                elif way_out == "failure":
                    self.stop_host()
                    self.see("Needs something")
                    self.start_slow_host()
                    self.quit()
                    self.open()
                elif way_out == "SIGTERM":
                    self.quit()
                    self.open()
                else:
                    self.kill()
                self.comes_to(service.held, [])

    def test_the_computer_stays_awake_until_cancel_a_failure_or_the_launchers_end(self):
        portal = self.until_the_end(Portal(self.session))
        self.verify_awake(portal, HELD)

    def test_where_the_portal_cannot_logind_keeps_it_awake(self):
        self.until_the_end(Portal(self.session, "fails"))
        logind = self.until_the_end(Logind(self.system))
        self.verify_awake(logind, [("sleep", "2D Platformer", WHY, "block")])

    def test_the_computer_stays_awake_until_the_game_runs(self):
        portal = self.until_the_end(Portal(self.session))
        self.write(self.game / "import.sh", "mkdir -p .godot; touch .godot/imported; while ! [ -e go ]; do sleep 0.1; done\n")
        self.start_host()
        self.open()
        self.press("Play")
        self.see("Setting up")
        self.comes_to(portal.held, HELD)
        (self.root / "Game" / "go").touch()
        self.see("Starting…")
        self.comes_to(portal.held, [])

    def test_a_failure_calls_back_until_the_player_looks(self):
        server = self.until_the_end(Notifications(self.session))
        self.start_slow_host()
        self.open_and_look()
        self.screen.root.change_attributes(event_mask=X.StructureNotifyMask | X.SubstructureNotifyMask)
        self.look_away()
        for number in range(2):
            self.fail_to_download()
            self.comes_to(lambda: len(server.shown()), number + 1)
            replaced, summary, body = server.shown()[number]
            self.assertEqual((replaced, summary), (number, "2D Platformer"))     # the second replaces the first
            self.assertRegex(body, r"\w \w.*\.$")
            self.assertIn(html.unescape(body), self.driver.texts())
        self.assertEqual(server.closed(), [])
        wait_for(self.asked_for_attention)
        self.look_back()
        self.comes_to(server.closed, [1])

        # A player who looks is not called.
        self.fail_to_download()
        time.sleep(0.5)
        self.assertEqual(len(server.shown()), 2)

    def asked_for_attention(self):
        """Whether the window manager, if there were one, was asked to mark the launcher's window."""
        state, attention = (self.screen.display.get_atom(name)
                            for name in ("_NET_WM_STATE", "_NET_WM_STATE_DEMANDS_ATTENTION"))
        self.screen.display.sync()
        events = [self.screen.display.next_event() for _ in range(self.screen.display.pending_events())]
        return any(event.type == X.ClientMessage and event.client_type == state and attention in event.data[1]
                   for event in events)

    def test_an_update_that_has_finished_calls_back(self):
        server = self.until_the_end(Notifications(self.session))
        self.start_host()
        self.open_and_look()
        self.assertEqual(self.play(), "Playing")
        self.press("Stop")
        self.see("Ready")
        self.assertEqual(server.shown(), [])
        self.press("Settings…")
        self.see("Done")
        self.look_away()
        self.press("Update the game")
        self.comes_to(server.shown, [(0, "2D Platformer", UPDATED)])
        self.assertIn(UPDATED, self.driver.texts())

    def test_the_dock_and_the_progress_bar_show_how_far_it_is(self):
        dock = Dock(self.session)
        # The size of the game's archive is not announced, but the engine's is.
        self.write(self.engine, "not a script\n" + os.urandom(400000).hex())
        self.start_host("--slow", "20000")
        self.open()
        self.assertEqual(dock.fractions(), [])
        self.press("Play")
        wait_for(lambda: re.fullmatch("about [1-9]0 seconds left", self.described()))
        wait_for(lambda: len(dock.fractions()) > 4)
        self.press("Cancel")
        self.see("Not downloaded")
        self.comes_to(lambda: dock.fractions()[-1:], [None])
        *shown, end = dock.fractions()
        self.assertEqual(shown, sorted(set(shown)))
        self.assertTrue(0 <= shown[0] and shown[-1] < 1)
        self.assertEqual({entry for _, entry, _ in dock.seen()},
                         {"application://io.github.kestrelwood.vantor_platformer.desktop"})

    def described(self):
        """What a screen reader can say about the progress bar."""
        bar = self.driver.find("Progress")
        return bar.description if bar else ""

    def test_a_portal_that_hangs_holds_up_nobody(self):
        portal = self.until_the_end(Portal(self.session))
        self.start_slow_host()
        self.open()
        portal.process.send_signal(signal.SIGSTOP)
        self.press("Play")
        self.see("Downloading")
        self.press("Cancel")
        self.see("Not downloaded")
        begin = time.monotonic()
        self.quit()
        self.assertLess(time.monotonic() - begin, 1.5)
        portal.process.send_signal(signal.SIGCONT)
        self.comes_to(portal.held, [])


if __name__ == "__main__":
    main()
