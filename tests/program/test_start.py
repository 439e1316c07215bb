"""How the launcher starts: alone, a second time, and on desktops that lack something."""

import fcntl
import os
import resource
import shutil
import signal
import subprocess
import time

from launcher_process import LONG, PROGRAMS, LauncherCase, main, wait_for


class Start(LauncherCase):
    def setUp(self):
        super().setUp()
        self.start_host()

    def test_nothing_is_printed_from_the_first_play_to_the_end(self):
        self.open()
        self.assertEqual(self.play(), "Playing")
        self.press("Stop")
        self.see("Ready")
        self.open_and_close("Settings…")
        self.open_and_close("About")
        self.show_log()
        self.quit()
        self.assertEqual(self.printed(), "")

    def test_the_window_gets_its_icon_after_its_first_picture(self):
        self.open()
        wait_for(lambda: sorted(self.screen.icon_sizes(self.window())) == [16, 24, 32, 48, 64, 128, 256])

    def test_on_a_desktop_that_tells_nothing_the_window_is_light(self):
        self.open()
        wait_for(lambda: self.screen.colour(5, 300) == 0xf5f6f8)     # below the banner, at the edge
        self.quit()

    def test_a_second_start_brings_the_first_window_to_the_front_and_ends(self):
        self.open()
        window = self.window()
        cover = self.screen.cover()
        # Another program of the desktop may have a window above both.
        both = lambda: [each for each in self.screen.stack() if each in (window, cover)]
        self.assertEqual(both(), [window, cover])
        self.assertEqual(self.printed(self.start_again()), "")
        wait_for(lambda: both() == [cover, window])
        self.assertIsNone(self.launcher.poll())
        cover.destroy()

    def test_a_second_start_leaves_the_keyboard_to_the_sheet_that_is_open(self):
        self.open()
        self.press("Settings…")
        self.see("Done")
        self.assertEqual(self.screen.windows(self.launcher.pid), [self.window()])
        cover = self.screen.cover()
        self.start_again()
        wait_for(lambda: self.screen.stack()[-1] == self.window())
        wait_for(lambda: self.screen.focused() == self.window())
        self.screen.strike("Escape")
        self.see_no_more("Done")
        cover.destroy()

    def test_what_keeps_a_launcher_from_starting_is_named_in_a_sentence(self):
        self.open()
        self.launcher.send_signal(signal.SIGSTOP)
        self.addCleanup(self.launcher.send_signal, signal.SIGCONT)
        locked = self.home / "locked"
        locked.mkdir()
        folder = os.open(locked, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        fcntl.flock(folder, fcntl.LOCK_EX)

        begin = time.monotonic()
        starts = {"2D Platformer is already open, but does not answer. End it and start it again.\n": self.start(),
                  f"Another program has locked the folder “{locked}”, where 2D Platformer keeps its files. "
                  "End that program and start 2D Platformer again.\n": self.start(XDG_DATA_HOME=str(locked))}
        for sentence, launcher in starts.items():
            wait_for(lambda: self.printed(launcher))
            self.assertLess(time.monotonic() - begin, 15)
            self.assertEqual(self.printed(launcher), sentence)

    def test_what_a_killed_launcher_left_in_temp_is_deleted_and_nothing_through_a_link(self):
        outside = self.home / "outside"
        self.write(outside / "precious", "mine")
        self.write(self.root / "Temp" / "OLD" / "file", "left over")
        (self.root / "Temp" / "link").symlink_to(outside)
        self.open()
        self.assertEqual(self.scratch(), [])
        self.quit()

        shutil.rmtree(self.root / "Temp", ignore_errors=True)
        (self.root / "Temp").symlink_to(outside)
        self.open()
        self.assertTrue((outside / "precious").exists())

    def test_a_home_that_cannot_be_written_ends_in_one_sentence(self):
        self.write(self.home / "file", "")
        for data in (self.home / "file" / "data", "/proc/nobody/data"):
            with self.subTest(str(data)):
                self.open(XDG_DATA_HOME=str(data))
                self.assertEqual(self.play(), "Needs something")
                self.assertIsNone(self.launcher.poll())
                sentences = [text for text in self.driver.texts() if "could not be created" in text]
                self.assertEqual(len(sentences), 1, self.driver.texts())
                self.quit()

    def test_very_many_leftovers_delay_neither_the_start_nor_the_end_and_the_next_start_goes_on(self):
        leftover = self.root / "Temp" / "OLD"
        for index in range(20000):
            if index % 500 == 0:
                (leftover / str(index)).mkdir(parents=True)
            os.close(os.open(leftover / str(index // 500 * 500) / str(index), os.O_CREAT | os.O_WRONLY))
        self.open()
        begin = time.monotonic()
        self.quit()
        self.assertLess(time.monotonic() - begin, 1.5)
        self.assertFalse(leftover.exists())
        self.open()
        wait_for(lambda: list(self.root.iterdir()) == [])

    def test_a_limit_on_the_size_of_files_ends_in_a_sentence(self):
        self.write(self.game / "level.txt", os.urandom(400000).hex())
        limit = (200000, resource.RLIM_INFINITY)
        self.open(popen={"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, limit)})
        self.assertEqual(self.play(), "Needs something")
        self.assertIsNone(self.launcher.poll())
        self.assertIn("“game.zip” could not be written: File too large.", self.driver.texts())
        self.assertEqual(self.scratch(), [])

    def test_a_window_size_that_nobody_offers_is_shown_and_passed_on(self):
        self.write(self.home / "config" / "vantor-platformer" / "vantor-platformer.conf",
                   "[General]\nresolution=3x\xb5\\a wide\n")
        self.write(self.game / "play.sh", 'printf "%s|" "$@" >arguments; exec sleep 60\n')
        self.open()
        self.open_and_close("Settings…")
        self.run_game()
        self.assertEqual(self.installed("arguments").read_text(),
                         f"--path|{self.root}/Game|--windowed|--resolution|3x\xb5\a wide|")

    def test_no_session_bus_and_no_runtime_folder_are_no_trouble(self):
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nonexistent"
        for name in ("XDG_RUNTIME_DIR", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "AT_SPI_BUS_ADDRESS"):
            self.environment.pop(name, None)
        self.start()
        wait_for(lambda: self.screen.windows(self.launcher.pid))
        self.start_again()
        self.assertIsNone(self.launcher.poll())
        self.quit()

    def test_a_display_that_is_lost_ends_the_launcher(self):
        for moment in ("doing nothing", "downloading"):
            with self.subTest(moment):
                self.start_slow_host()
                screen, display = self.start_screen()
                self.start(DISPLAY=display)
                self.see("Not downloaded")
                if moment == "downloading":
                    self.press("Play")
                    wait_for(self.scratch)
                screen.kill()
                status = self.launcher.wait(10)
                self.assertGreaterEqual(status, 0, self.printed())      # an end, not a crash
                self.assertEqual(self.children(), [])

    def test_without_a_display_it_ends_with_an_explanation_and_no_crash(self):
        self.assertEqual(self.start(DISPLAY=":987").wait(LONG), 1)
        self.assertIn("display", self.printed())

    def test_the_local_launcher_takes_exactly_one_address(self):
        for arguments in ([], ["http://127.0.0.1:80"] * 2, ["not an address"], ["127.0.0.1:80"], ["file:///tmp"],
                          ["http://127.0.0.1:80/path"], ["http://"], ["http://127.0.0.1:80?a"], [""]):
            with self.subTest(arguments):
                ended = subprocess.run([PROGRAMS / "vantor-platformer-local", *arguments], env=self.environment,
                                       stderr=subprocess.PIPE, text=True, timeout=LONG)
                self.assertEqual(ended.returncode, 2)
                self.assertEqual(ended.stderr, "Usage: vantor-platformer-local http://127.0.0.1:PORT\n")

    def start_screen(self):
        read, write = os.pipe()
        screen = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                                  pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        self.addCleanup(screen.wait)
        self.addCleanup(screen.kill)
        with os.fdopen(read) as answer:
            return screen, ":" + answer.readline().strip()


if __name__ == "__main__":
    main()
