"""What the launcher asks of a desktop, as the desktop's services see it: on real buses, with services that answer, that
refuse, that are silent, that end in between or that do not exist."""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))
from desktop_services import Dock, Logind, Notifications, OwnBus, Portal, SilentBus, wait_for

AT_ONCE = 500     # milliseconds that a call may take, on a busy machine
SUSPEND = 4       # the portal's flag
WHY = "Downloading and setting up the game"
BY_PORTAL = [(SUSPEND, WHY)]
BY_LOGIND = [("sleep", "The Launcher", WHY, "block")]
ENTRY = "application://org.example.Launcher.desktop"


class DesktopShellCase(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.session = self.until_the_end(OwnBus(self.folder / "session"))
        self.system = self.until_the_end(OwnBus(self.folder / "system"))

    def until_the_end(self, what):
        self.addCleanup(what.close)
        return what

    def start(self, session=None, system=None):
        environment = dict(os.environ, DBUS_SESSION_BUS_ADDRESS=session or self.session.address,
                           DBUS_SYSTEM_BUS_ADDRESS=system or self.system.address)
        if session == "":
            environment = {name: value for name, value in environment.items()
                           if name not in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR")}
        self.process = subprocess.Popen([os.environ["DESKTOP_SHELL_PROCESS"]], env=environment, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(self.end)

    def tell(self, *lines):
        """Each is obeyed at once, whatever the desktop does."""
        for line in lines:
            print(line, file=self.process.stdin, flush=True)
            taken = self.process.stdout.readline()
            self.assertTrue(taken, "The process has ended.")
            self.assertLess(int(taken), AT_ONCE, line)

    def end(self):
        if not self.process.stdin.closed:
            self.process.stdin.close()
            self.process.stdout.close()
            self.assertEqual(self.process.wait(60), 0)

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()

    def comes_to(self, question, expected):
        try:
            wait_for(lambda: question() == expected)
        except AssertionError:
            self.assertEqual(question(), expected)

    def settles(self, question, expected):
        """Comes to it for good: on the way there it may pass by as well."""
        def stays():
            for _ in range(10):
                if question() != expected:
                    return False
                time.sleep(0.02)
            return True
        try:
            wait_for(stays)
        except AssertionError:
            self.assertEqual(question(), expected)
            raise

    def remains(self, question, expected):
        """For long enough that a stray message would have arrived."""
        for _ in range(10):
            self.assertEqual(question(), expected)
            time.sleep(0.02)


class StaysAwake(DesktopShellCase):
    def verify(self, service, expected):
        """While something is installed `service` holds `expected`, and nothing after each way out."""
        self.start()
        self.remains(service.held, [])
        for after in ("none", "playing"):
            self.tell("installing", "installing")
            self.comes_to(service.held, expected)
            self.remains(service.held, expected)
            self.tell(after)
            self.comes_to(service.held, [])
        for way_out in (self.end, self.kill):
            self.tell("installing")
            self.comes_to(service.held, expected)
            way_out()
            self.comes_to(service.held, [])
            self.start()

    def test_through_the_portal_and_then_not_through_logind(self):
        logind = self.until_the_end(Logind(self.system))
        self.verify(self.until_the_end(Portal(self.session)), BY_PORTAL)
        self.assertEqual(logind.held(), [])

    def test_through_logind_where_there_is_no_portal(self):
        self.verify(self.until_the_end(Logind(self.system)), BY_LOGIND)

    def test_through_logind_where_the_portal_does_not(self):
        logind = self.until_the_end(Logind(self.system))
        for behaviour in ("refuses", "fails"):
            with self.subTest(behaviour):
                portal = Portal(self.session, behaviour)
                self.verify(logind, BY_LOGIND)
                self.end()
                portal.close()

    def test_through_logind_where_the_portal_never_answers_and_what_it_was_asked_is_taken_back(self):
        portal = self.until_the_end(Portal(self.session, "is-silent"))
        logind = self.until_the_end(Logind(self.system))
        self.start()
        self.tell("installing")
        self.comes_to(logind.held, BY_LOGIND)
        self.comes_to(portal.held, [])
        self.tell("none")
        self.comes_to(logind.held, [])

    def test_through_logind_where_there_is_no_session_bus(self):
        logind = self.until_the_end(Logind(self.system))
        for session in ("", f"unix:path={self.folder}/nothing"):
            with self.subTest(session):
                self.start(session)
                self.tell("installing")
                self.comes_to(logind.held, BY_LOGIND)
                self.end()
                self.comes_to(logind.held, [])

    def test_through_logind_once_the_portal_has_ended(self):
        portal = Portal(self.session)
        logind = self.until_the_end(Logind(self.system))
        self.start()
        self.tell("installing")
        self.comes_to(portal.held, BY_PORTAL)
        portal.close()
        self.comes_to(logind.held, BY_LOGIND)
        self.tell("none")
        self.comes_to(logind.held, [])

        # The next time, the portal is asked again.
        portal = self.until_the_end(Portal(self.session))
        self.tell("installing")
        self.comes_to(portal.held, BY_PORTAL)
        self.assertEqual(logind.held(), [])

    def test_a_change_of_mind_while_the_desktop_has_not_answered_leaves_what_was_said_last(self):
        portal = self.until_the_end(Portal(self.session))
        self.start()
        self.tell(*["installing", "none"] * 20)
        self.tell("installing")
        self.settles(portal.held, BY_PORTAL)
        self.tell("none", *["installing", "none"] * 20)
        self.settles(portal.held, [])

    def test_a_desktop_without_either_costs_nothing(self):
        self.start()
        self.tell("installing", "progress 0.5", "notify One.", "none")
        logind = self.until_the_end(Logind(self.system))
        self.tell("installing")
        self.comes_to(logind.held, BY_LOGIND)


class CallsBack(DesktopShellCase):
    def test_with_the_sentence_as_the_server_wants_it(self):
        sentence = "“<b>a</b>” & b could not be opened."
        escaped = "“&lt;b&gt;a&lt;/b&gt;” &amp; b could not be opened."
        for capabilities, expected in (("body body-markup", ("The Launcher", escaped)),
                                       ("body", ("The Launcher", sentence)), ("", (sentence, ""))):
            with self.subTest(capabilities):
                server = Notifications(self.session, capabilities)
                self.start()
                self.tell(f"notify {sentence}")
                self.comes_to(server.shown, [(0, *expected)])
                self.end()
                server.close()

    def test_in_the_name_of_the_menu_entry(self):
        server = self.until_the_end(Notifications(self.session))
        self.start()
        self.tell("notify One.")
        call = wait_for(lambda: server.calls("Notify"))[0]
        self.assertEqual(call, ["The Launcher", 0, "org.example.Launcher", "The Launcher", "One.", [],
                                {"desktop-entry": "org.example.Launcher"}, -1])

    def test_with_one_notification_at_a_time_until_it_is_withdrawn(self):
        server = self.until_the_end(Notifications(self.session))
        self.start()
        self.tell("notify One.")
        self.comes_to(lambda: len(server.shown()), 1)
        self.tell("notify Two.", "notify Three.")
        # What nobody would have seen is left out.
        self.comes_to(lambda: server.shown()[-1], (1, "The Launcher", "Three."))
        self.assertTrue(all(replaced == 1 for replaced, *_ in server.shown()[1:]))
        self.assertEqual(server.closed(), [])
        self.tell("withdraw", "withdraw")
        self.comes_to(server.closed, [1])
        self.remains(server.closed, [1])

    def test_and_what_was_withdrawn_before_it_was_sent_is_not_sent(self):
        server = self.until_the_end(Notifications(self.session))
        self.start()
        server.process.send_signal(signal.SIGSTOP)
        self.tell("notify One.", "withdraw")
        server.process.send_signal(signal.SIGCONT)
        self.remains(server.shown, [])
        self.tell("notify Two.")
        self.comes_to(server.shown, [(0, "The Launcher", "Two.")])

    def test_and_takes_it_back_at_the_end(self):
        server = self.until_the_end(Notifications(self.session))
        self.start()
        self.tell("notify One.")
        self.comes_to(lambda: len(server.shown()), 1)
        time.sleep(0.2)
        self.end()
        self.comes_to(server.closed, [1])

    def test_and_replaces_nothing_of_a_server_that_was_started_again(self):
        server = Notifications(self.session)
        self.start()
        self.tell("notify One.")
        self.comes_to(lambda: len(server.shown()), 1)
        server.close()
        server = Notifications(self.session)
        self.tell("notify Two.")
        self.comes_to(server.shown, [(0, "The Launcher", "Two.")])
        server.close()
        server = self.until_the_end(Notifications(self.session))
        self.tell("withdraw")
        self.remains(server.closed, [])


class ShowsFromAfar(DesktopShellCase):
    def test_the_fraction_until_the_end(self):
        dock = Dock(self.session)
        self.start()
        for percent in (0, 42, 100):
            self.tell(f"progress {percent / 100}")
            self.comes_to(lambda: dock.fractions()[-1:], [percent / 100])
        self.tell("progress", "progress")
        self.comes_to(dock.fractions, [0, 0.42, 1, None])
        self.remains(dock.fractions, [0, 0.42, 1, None])
        self.assertEqual({entry for _, entry, _ in dock.seen()}, {ENTRY})

    def test_nothing_before_there_is_a_fraction(self):
        dock = Dock(self.session)
        self.start()
        self.tell("progress", "progress", "progress 0.1")
        self.comes_to(dock.fractions, [0.1])

    def test_only_what_changes_and_that_a_few_times_a_second(self):
        dock = Dock(self.session)
        self.start()
        begin = time.monotonic()
        for _ in range(5):
            for thousandth in range(1000):
                self.tell(f"progress {thousandth / 1000}")
        self.tell(*["progress 0.501"] * 10, *["progress 0.503"] * 10)
        self.comes_to(lambda: dock.fractions()[-1:], [0.5])
        taken = time.monotonic() - begin
        self.assertLessEqual(len(dock.seen()), taken / 0.25 + 2)
        count = len(dock.seen())
        self.tell(*["progress 0.499"] * 10)
        time.sleep(0.5)
        self.assertEqual(len(dock.seen()), count)

    def test_and_removes_it_at_the_end(self):
        dock = Dock(self.session)
        self.start()
        self.tell("progress 0.5")
        self.comes_to(dock.fractions, [0.5])
        self.end()
        self.comes_to(dock.fractions, [0.5, None])


class WaitsForNobody(DesktopShellCase):
    def everything(self):
        self.tell("installing", "progress 0.1", "notify One.", "withdraw", "notify Two.", "progress 0.2", "playing",
                  "installing", "none", "progress")

    def test_a_bus_that_never_answers(self):
        logind = self.until_the_end(Logind(self.system))
        for bus in ("session", "system"):
            with self.subTest(bus):
                (self.folder / bus).mkdir(exist_ok=True)
                silent = SilentBus(self.folder / bus)
                self.start(**{bus: silent.address})
                self.tell("installing")
                caller = silent.wait_for_caller()
                self.everything()
                if bus == "session":
                    # The other bus is not held up, after the time that this one had.
                    self.tell("installing")
                    self.comes_to(logind.held, BY_LOGIND)
                begin = time.monotonic()
                self.end()
                self.assertLess(time.monotonic() - begin, 5)
                self.comes_to(logind.held, [])
                caller.close()
                silent.socket.close()

    def test_a_bus_that_ends(self):
        portal = Portal(self.session)
        self.start()
        self.tell("installing", "notify One.", "progress 0.5")
        self.comes_to(portal.held, BY_PORTAL)
        self.session.daemon.kill()
        self.session.daemon.wait()
        self.everything()
        self.everything()
        portal.process.kill()
        portal.process.wait()

    def test_services_that_are_silent(self):
        portal = self.until_the_end(Portal(self.session, "is-silent"))
        server = self.until_the_end(Notifications(self.session))
        self.start()
        server.process.send_signal(signal.SIGSTOP)
        self.tell("installing", "notify One.", "progress 0.5")
        self.comes_to(portal.held, BY_PORTAL)
        self.everything()
        begin = time.monotonic()
        self.end()
        self.assertLess(time.monotonic() - begin, 5)
        self.comes_to(portal.held, [])
        server.process.send_signal(signal.SIGCONT)


if __name__ == "__main__":
    unittest.main(verbosity=2)
