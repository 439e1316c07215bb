"""What the launcher reads of the desktop's settings: from a portal on a real bus that answers, that refuses, that is silent,
that comes late, that is started again or that does not exist."""

import os
import queue
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))
from desktop_services import GLib, OwnBus, SettingsPortal, SilentBus

AT_ONCE = 500     # milliseconds that the beginning may take, on a busy machine
PATIENCE = 60     # seconds
LONG_ENOUGH = 0.5     # seconds in which a stray message would have arrived

COMMON = "org.freedesktop.appearance"
GNOME = "org.gnome.desktop.interface"
GNOME_FOR_ALL = "org.gnome.desktop.a11y.interface"

number = lambda value: GLib.Variant("u", value)
flag = lambda value: GLib.Variant("b", value)
word = lambda value: GLib.Variant("s", value)
colour = lambda *shares: GLib.Variant("(ddd)", shares)

# What is set, and what the launcher makes of it: the scheme, the accent colour, the contrast and the motion.
MEANINGS = [
    ([(COMMON, "color-scheme", number(1))], "dark - - -"),
    ([(COMMON, "color-scheme", number(2))], "light - - -"),
    ([(COMMON, "accent-color", colour(0.2, 0.5, 1.0))], "- 0.2,0.5,1 - -"),
    ([(COMMON, "accent-color", colour(0.0, 0.0, 0.0))], "- 0,0,0 - -"),
    ([(COMMON, "contrast", number(1))], "- - high -"),
    ([(COMMON, "contrast", number(0))], "- - normal -"),
    ([(COMMON, "reduced-motion", number(1))], "- - - reduced"),
    ([(COMMON, "reduced-motion", number(0))], "- - - full"),
    ([(GNOME, "enable-animations", flag(False))], "- - - reduced"),
    ([(GNOME, "enable-animations", flag(True))], "- - - full"),
    ([(GNOME, "gtk-theme", word("HighContrastInverse"))], "- - high -"),
    ([(GNOME, "gtk-theme", word("Adwaita"))], "- - normal -"),
    ([(GNOME_FOR_ALL, "high-contrast", flag(True)), (GNOME, "gtk-theme", word("Adwaita"))], "- - high -"),
    # What all desktops have in common counts first.
    ([(COMMON, "contrast", number(0)), (GNOME, "gtk-theme", word("HighContrast"))], "- - normal -"),
    ([(COMMON, "reduced-motion", number(0)), (GNOME, "enable-animations", flag(False))], "- - - full"),
    ([(COMMON, "color-scheme", number(1)), (COMMON, "accent-color", colour(1.0, 0.5, 0.25)),
      (COMMON, "contrast", number(1)), (COMMON, "reduced-motion", number(1))], "dark 1,0.5,0.25 high reduced"),
    # Some portals wrap a value twice.
    ([(COMMON, "color-scheme", GLib.Variant("v", number(1)))], "dark - - -"),
]
# What means nothing.
MEANINGLESS = [
    (COMMON, "color-scheme", number(0)),
    (COMMON, "color-scheme", number(7)),
    (COMMON, "color-scheme", word("dark")),
    (COMMON, "accent-color", colour(-1.0, 0.5, 0.5)),
    (COMMON, "accent-color", colour(0.5, 1.5, 0.5)),
    (COMMON, "accent-color", colour(0.5, 0.5, float("nan"))),
    (COMMON, "accent-color", GLib.Variant("(dd)", (0.5, 0.5))),
    (COMMON, "accent-color", word("blue")),
    (COMMON, "contrast", flag(True)),
    (GNOME_FOR_ALL, "high-contrast", flag(False)),
    ("org.example.other", "color-scheme", number(1)),
]


class DesktopAppearanceTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.session = OwnBus(self.folder / "session")
        self.addCleanup(self.session.close)

    def start(self, session=None):
        environment = dict(os.environ, DBUS_SESSION_BUS_ADDRESS=session or self.session.address)
        if session == "":
            environment = {name: value for name, value in environment.items()
                           if name not in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR")}
        self.process = subprocess.Popen([os.environ["DESKTOP_APPEARANCE_PROCESS"]], env=environment, text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(self.end)
        self.lines = queue.Queue()
        reader = threading.Thread(target=lambda output, lines: [lines.put(line.strip()) for line in output],
                                  args=(self.process.stdout, self.lines))
        reader.start()
        self.reader = reader
        self.assertLess(int(self.lines.get(timeout=PATIENCE)), AT_ONCE)

    def end(self):
        if self.process.stdin.closed:
            return
        self.process.stdin.close()
        self.assertEqual(self.process.wait(PATIENCE), 0)
        self.reader.join()
        self.process.stdout.close()

    def portal(self, *behaviour, settings=()):
        portal = SettingsPortal(self.session, *(behaviour or ("answers",)))
        self.addCleanup(portal.close)
        for setting in settings:
            portal.set(*setting)
        return portal

    def reports(self, expected):
        self.assertEqual(self.lines.get(timeout=PATIENCE), expected)

    def reports_nothing(self):
        with self.assertRaises(queue.Empty):
            self.lines.get(timeout=LONG_ENOUGH)

    def test_settings_are_read_at_the_start(self):
        for settings, meaning in MEANINGS:
            with self.subTest(meaning=meaning, settings=settings):
                portal = self.portal(settings=settings)
                self.start()
                self.reports(meaning)
                self.end()
                portal.close()

    def test_what_means_nothing_is_not_reported(self):
        portal = self.portal(settings=MEANINGLESS[:1])
        self.start()
        for setting in MEANINGLESS:
            portal.set(*setting)
        self.reports_nothing()
        # It can be told apart from silence.
        portal.set(COMMON, "color-scheme", number(1))
        self.reports("dark - - -")

    def test_each_change_is_reported_once(self):
        portal = self.portal(settings=[(COMMON, "color-scheme", number(2))])
        self.start()
        self.reports("light - - -")
        changes = [((COMMON, "color-scheme", number(1)), "dark - - -"),
                   ((COMMON, "accent-color", colour(0.5, 0.25, 1.0)), "dark 0.5,0.25,1 - -"),
                   ((COMMON, "accent-color", colour(0.25, 0.25, 1.0)), "dark 0.25,0.25,1 - -"),
                   ((COMMON, "contrast", number(1)), "dark 0.25,0.25,1 high -"),
                   ((COMMON, "reduced-motion", number(1)), "dark 0.25,0.25,1 high reduced"),
                   ((COMMON, "accent-color", colour(-1.0, -1.0, -1.0)), "dark - high reduced"),
                   ((COMMON, "contrast", number(0)), "dark - normal reduced"),
                   ((COMMON, "color-scheme", number(0)), "- - normal reduced")]
        for setting, meaning in changes:
            portal.set(*setting)
            self.reports(meaning)
            portal.set(*setting)
        self.reports_nothing()

    def test_a_portal_that_comes_late_or_is_started_again_is_read(self):
        self.start()
        self.reports_nothing()
        for scheme, meaning in (("1", "dark - - -"), ("2", "light - - -")):
            portal = self.portal("answers", scheme)
            self.reports(meaning)
            portal.close()
            self.reports_nothing()

    def test_a_desktop_that_tells_nothing_costs_nothing(self):
        for behaviour in ("fails", "is-silent"):
            with self.subTest(behaviour):
                portal = self.portal(behaviour)
                self.start()
                self.reports_nothing()
                self.end()
                portal.close()
        for session in (None, "", f"unix:path={self.folder}/nothing"):
            with self.subTest(session):
                self.start(session)
                self.reports_nothing()
                self.end()

    def test_a_bus_that_is_silent_costs_nothing_and_does_not_hold_up_the_end(self):
        bus = SilentBus(self.folder)
        self.start(bus.address)
        caller = bus.wait_for_caller()
        self.reports_nothing()
        self.end()
        caller.close()
        bus.socket.close()


if __name__ == "__main__":
    unittest.main(verbosity=2)
