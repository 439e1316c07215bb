"""A new player's first session: the real window, used over the accessibility bus, with a real engine and a real game.
ENGINE_LINE in the environment selects the engine line: 3 or 4."""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "program"))
from launcher_process import LONG, PROJECT, LauncherCase, children_of, main, wait_for
from desktop_services import Bus, GLib, SettingsPortal

LINE = os.environ.get("ENGINE_LINE", "4")
ENGINE = subprocess.run([PROJECT / "tools" / "get-engine", LINE], stdout=subprocess.PIPE, text=True).stdout.strip()

ENDING = """extends Node
func _ready():
\t{wait}
\tprint("The end of the test game, \u2603 and all.")
\tget_tree().quit(3)
"""
WAIT = {"3": 'yield(get_tree().create_timer(2), "timeout")', "4": "await get_tree().create_timer(2).timeout"}


class NewPlayer(LauncherCase):
    def setUp(self):
        super().setUp()
        shutil.rmtree(self.game)
        shutil.copytree(PROJECT / "samples" / f"coin-run-{LINE}", self.game)
        self.engine = ENGINE

    def game_command(self):
        """The command line of the running game."""
        return wait_for(lambda: next((command for command in children_of(self.launcher.pid).values()
                                      if re.search("--path .*--(windowed|fullscreen)", command)), None))

    def stop(self):
        """Presses Stop until the game has ended: a press that comes before the engine is ready has no effect."""
        def ended():
            if self.driver.state() == "Ready":
                return True
            if button := self.driver.find("Stop"):
                button.press()
            return False
        wait_for(ended)
        self.assertEqual(children_of(self.launcher.pid), {})

    def size(self):
        """The choice of the window's size."""
        return wait_for(lambda: self.driver.find("1280x720", "combo box"))

    def removal_button(self):
        """The button that names a size."""
        return self.first(lambda control: re.fullmatch(r"Remove \(frees (?!0 bytes|Zero).+\)", control.name))

    def first(self, condition):
        """The first control that meets the condition."""
        return wait_for(lambda: next(filter(condition, self.driver.showing()), None))

    def test_from_the_first_start_over_every_button_to_the_removal(self):
        # A window size from an earlier installation.
        settings = self.home / "config" / "vantor-platformer" / "vantor-platformer.conf"
        self.write(settings, "[General]\nresolution=1280x720\n")
        self.start_host("--slow", "10000")

        # A first look, and a change of mind.
        self.assertEqual(self.open(), "Not downloaded")
        self.assertIn("Downloads the game and the Godot engine once, about 60 MB. Nothing to type.",
                      self.driver.texts())
        self.press("Play")
        self.see("Step 1 of 4: downloading the game")
        self.assertEqual(self.driver.state(), "Downloading")
        self.assertIsNone(self.driver.find("Play"))
        wait_for(lambda: any(" at " in text or "/s" in text for text in self.driver.texts()))
        self.press("Cancel")
        self.see("Not downloaded")
        self.assertEqual(self.scratch(), [])

        # Play, from nothing to a game on the screen.
        port = self.address.rpartition(":")[2]
        self.start_host("--port", port)
        self.press("Play")
        self.assertEqual(self.driver.follow("Playing", "Needs something", seconds=2 * LONG), "Playing")
        self.assertRegex(self.game_command(), r"--path .*/Game --windowed --resolution 1280x720 $")
        self.assertTrue(wait_for(lambda: [window for window in self.screen.stack()
                                          if self.screen.owner(window) in children_of(self.launcher.pid)]))
        self.stop()
        self.show_log()
        self.assertEqual(self.driver.find("Log").text.split("\n")[-1], "Game stopped.")
        self.press("Hide log")

        # Full screen: the size cannot be chosen, is kept, and is not passed on.
        self.press("Settings…")
        size = self.size()
        self.assertTrue(size.is_enabled)
        self.press("Fullscreen")
        wait_for(lambda: not size.is_enabled)
        self.assertEqual(size.name, "1280x720")
        self.close_sheet()
        self.press("Play")
        self.see("Playing")
        self.assertRegex(self.game_command(), r"--path .*/Game --fullscreen $")
        self.stop()
        self.press("Settings…")
        size = self.size()
        self.assertFalse(size.is_enabled)
        self.press("Windowed")
        wait_for(lambda: size.is_enabled)
        self.assertIn("resolution=1280x720", settings.read_text())

        # Update: the sheet closes before the work starts.
        self.press("Update the game")
        self.driver.wait_gone("Done", LONG)
        self.see("The game was updated.")
        self.see("Not downloaded")

        # About, with what the game says about itself.
        self.press("About")
        self.see("The game belongs to its author; this app only downloads and starts it.")
        self.assertTrue(any(re.match(r"Game by (?!its author).*\. Licence: MIT", text)
                            for text in self.driver.texts()), self.driver.texts())
        self.close_sheet()

        # Remove everything: the question names the size; it is cancelled, then confirmed.
        self.press("Settings…")
        self.press("Remove everything…")
        self.see("Remove the game and the engine?")
        self.removal_button()
        self.press("Cancel")
        self.driver.wait_gone("Remove the game and the engine?", LONG)
        self.assertTrue(self.root.exists())
        self.assertIn("Done", self.driver.texts())
        self.press("Remove everything…")
        self.removal_button().press()
        self.see("Everything was removed.")
        self.driver.wait_gone("Done", LONG)
        self.assertFalse(self.root.exists())
        self.assertEqual(self.driver.state(), "Not downloaded")
        self.assertTrue(list((self.home / "data").rglob("progress.cfg")), "the player's progress is lost")
        self.press("About")
        self.see("Game by its author. Licence: see the repository")
        self.press("Done")
        self.assertEqual(self.printed(), "")

    def test_a_game_that_fails_is_reported_in_a_sentence_with_lines_that_can_be_copied(self):
        self.write(self.game / "the_end.gd", ENDING.format(wait=WAIT[LINE]))
        with open(self.game / "project.godot", "a") as project:
            project.write('\n[autoload]\n\nTheEnd="*res://the_end.gd"\n')
        self.start_host()
        self.open()
        self.press("Play")
        self.driver.wait("Needs something", seconds=2 * LONG)
        sentence = (r"The game closed after only \d+ seconds? \(exit code 3\), so it did not start properly\. "
                    r"These are the last lines of its log:")
        message = self.first(lambda control: re.fullmatch(sentence, control.name)).name
        lines = self.first(lambda control: "The end of the test game, \u2603 and all." in control.text).text
        self.assertLessEqual(len(lines.split("\n")), 30)
        self.press("Copy")
        # The window shows colours for the codes that the engine prints, and a symbol for each other control character;
        # the copied text is exact.
        copied = wait_for(self.screen.clipboard)
        shown = re.sub(r"\x1b\[[0-?]*[ -/]*[@-~]", "", copied)
        self.assertEqual(re.sub("[\0-\x08\x0b-\x1f]", lambda found: chr(0x2400 + ord(found[0])), shown),
                         message + "\n" + lines)
        self.assertEqual("\x1b[" in copied, LINE == "4")


# Once is enough: the window does not depend on the engine.
if LINE == "3":
    class NewPlayerWithHighContrast(NewPlayer):
        """The same on a dark desktop with high contrast, without motion and with a body text of 20 pixels."""

        def setUp(self):
            super().setUp()
            portal = SettingsPortal(Bus(os.environ["DBUS_SESSION_BUS_ADDRESS"]), "answers")
            self.addCleanup(portal.close)
            for key in ("color-scheme", "contrast", "reduced-motion"):
                portal.set("org.freedesktop.appearance", key, GLib.Variant("u", 1))
            self.environment["QT_FONT_DPI"] = "160"     # the body text has 9 points

        def open(self, **how):
            state = super().open(**how)
            # At the left edge, below the banner.
            wait_for(lambda: self.screen.colour(5, 300) == 0x0c0d0f)
            return state


if __name__ == "__main__":
    if not ENGINE:
        print(f"Skipped: there is no engine of the {LINE} line here.", file=sys.stderr)
        sys.exit(77)
    main()
