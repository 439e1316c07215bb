"""A player opens the log's menu with a key, in the real window, and saves a report or quits before it is saved."""

import datetime
import signal

from Xlib import XK, X
from Xlib.ext import xtest

from launcher_process import LONG, LauncherCase, main, wait_for


class Report(LauncherCase):
    def setUp(self):
        super().setUp()
        self.environment["XDG_CURRENT_DESKTOP"] = "Testbench"    # no desktop whose dialogs Qt would use
        self.start_host()
        self.open()
        self.show_log()

    def hold(self, key, act):
        screen = self.screen.display
        code = screen.keysym_to_keycode(XK.string_to_keysym(key))
        xtest.fake_input(screen, X.KeyPress, code)
        act()
        xtest.fake_input(screen, X.KeyRelease, code)
        screen.sync()

    def open_dialog(self, key):
        """Opens the log's context menu with a key, and chooses its last entry."""
        # There is no window manager to do that.
        self.screen.windows(self.launcher.pid)[0].set_input_focus(X.RevertToParent, X.CurrentTime)
        self.screen.display.sync()
        log = wait_for(lambda: self.driver.find("Log"))
        log.accessible.get_component_iface().grab_focus()
        wait_for(lambda: "focused" in self.driver.find("Log").states)
        if key == "Shift+F10":
            self.hold("Shift_L", lambda: self.screen.strike("F10"))
        else:
            self.screen.strike(key)
        # The windows on the accessibility bus are those without menus.
        wait_for(lambda: len(self.screen.windows(self.launcher.pid)) == 2)
        self.screen.strike("Up")       # from the first entry to the last
        self.screen.strike("Return")
        self.see("Save a report")

    def test_the_menu_opens_with_a_key_and_the_report_is_written(self):
        for key in ("Menu", "Shift+F10"):
            with self.subTest(key):
                self.open_dialog(key)
                self.press("Save")
                name = f"Vantor report {datetime.date.today()}.txt"
                self.see(f"The report was saved as “{name}”.")
                report = (self.home / name).read_text("utf-8")
                self.assertIn("\nWindow system: xcb\n", report)
                self.assertIn("\nDesktop: Testbench\n", report)
                self.assertIn("\nLauncher's folder: ~/data/Vantor Platformer\n", report)
                self.assertNotIn(str(self.home), report)
                (self.home / name).unlink()
        self.quit()
        self.assertEqual(self.printed(), "")

    def test_the_launcher_ends_while_the_dialog_is_open(self):
        for way in ("closing the window", "SIGTERM"):
            with self.subTest(way):
                window = self.screen.windows(self.launcher.pid)[0]
                self.open_dialog("Menu")
                if way == "closing the window":
                    self.screen.close(window)
                else:
                    self.launcher.send_signal(signal.SIGTERM)
                self.assertEqual(self.launcher.wait(LONG), 0)
                self.assertEqual(self.printed(), "")
                self.assertEqual(list(self.home.glob("*.txt")), [])
                self.open()
                self.show_log()


if __name__ == "__main__":
    main()
