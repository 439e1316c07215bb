"""What `cmake --install` puts where, and whether desktops understand it.

    test_install.py CMAKE BUILD_FOLDER VERSION
"""

import configparser
import gzip
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

CMAKE, BUILD, VERSION = sys.argv[1:4]
PROJECT = Path(__file__).resolve().parents[2]
ID = "io.github.kestrelwood.vantor_platformer"
SIZES = (16, 24, 32, 48, 64, 128, 256, 512)


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, **options)


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        cls.root = Path(cls.scratch.name)
        installed = run(CMAKE, "--install", BUILD, "--prefix", str(cls.root))
        assert installed.returncode == 0, installed.stderr
        cls.share = cls.root / "share"

    def test_only_what_players_need_is_installed(self):
        files = {str(path.relative_to(self.root)) for path in self.root.rglob("*") if not path.is_dir()}
        self.assertEqual(files, {
            "bin/vantor-platformer",
            "libexec/vantor-platformer/vantor-unpack",
            f"share/applications/{ID}.desktop",
            f"share/metainfo/{ID}.metainfo.xml",
            f"share/icons/hicolor/scalable/apps/{ID}.svg",
            "share/doc/vantor-platformer/changelog.gz",
            "share/doc/vantor-platformer/copyright",
            "share/man/man6/vantor-platformer.6.gz",
        } | {f"share/icons/hicolor/{size}x{size}/apps/{ID}.png" for size in SIZES})

    def test_each_picture_has_the_size_of_its_folder(self):
        for size in SIZES:
            head = (self.share / f"icons/hicolor/{size}x{size}/apps/{ID}.png").read_bytes()[16:24]
            self.assertEqual(head, size.to_bytes(4, "big") * 2)

    def test_the_desktop_entry_is_valid(self):
        result = run("desktop-file-validate", str(self.share / f"applications/{ID}.desktop"))
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_the_desktop_entry_starts_what_is_installed_and_shows_its_icon(self):
        entry = configparser.ConfigParser(interpolation=None)
        entry.read(self.share / f"applications/{ID}.desktop", "utf-8")
        self.assertTrue((self.root / "bin" / entry["Desktop Entry"]["Exec"]).is_file())
        self.assertTrue((self.share / f"icons/hicolor/scalable/apps/{entry['Desktop Entry']['Icon']}.svg").is_file())

    def test_the_launchers_windows_say_which_desktop_entry_is_theirs(self):
        # Qt passes the name to the Wayland compositor, which a test lacks; so it is looked for in the program.
        program = (self.root / "bin/vantor-platformer").read_bytes()
        self.assertTrue(ID.encode("utf-16-le") in program, "the name is not in the program")

    def test_the_software_centre_understands_the_description(self):
        result = run("appstreamcli", "validate", "--no-net", "--pedantic",
                     str(self.share / f"metainfo/{ID}.metainfo.xml"))
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertNotIn("W:", result.stdout)

    def test_everything_that_names_a_version_names_this_one(self):
        description = xml.parse(self.share / f"metainfo/{ID}.metainfo.xml").getroot()
        self.assertEqual(description.find("releases/release").get("version"), VERSION)
        changes = gzip.decompress((self.share / "doc/vantor-platformer/changelog.gz").read_bytes()).decode()
        self.assertTrue(changes.startswith(f"vantor-platformer ({VERSION}) "), changes)

    def test_the_manual_page_is_well_formed(self):
        page = gzip.decompress((self.share / "man/man6/vantor-platformer.6.gz").read_bytes())
        self.assertTrue(page.startswith(b".TH VANTOR-PLATFORMER 6"))
        if shutil.which("groff"):
            result = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z"], input=page, capture_output=True)
            self.assertEqual((result.returncode, result.stderr), (0, b""))

    def test_the_installed_unpacker_runs(self):
        result = run(str(self.root / "libexec/vantor-platformer/vantor-unpack"))
        self.assertGreater(result.returncode, 0)
        self.assertIn("vantor-unpack", result.stderr)

    def test_what_stands_beside_the_installed_launcher_finds_the_unpacker(self):
        asks = self.root / "bin/asks"
        shutil.copy(Path(BUILD) / "bin/DesktopTest", asks)
        self.addCleanup(asks.unlink)
        found = Path(run(str(asks), "--ask").stdout)
        self.assertEqual(found, (self.root / "libexec/vantor-platformer/vantor-unpack").resolve())

    def test_a_packager_may_collect_the_files_in_another_root(self):
        with tempfile.TemporaryDirectory() as other:
            result = run(CMAKE, "--install", BUILD, "--prefix", "/opt/player", env={**os.environ, "DESTDIR": other})
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertTrue((Path(other) / "opt/player/bin/vantor-platformer").is_file())

    def test_a_packager_may_choose_the_folders_and_the_launcher_knows(self):
        cache = (Path(BUILD) / "CMakeCache.txt").read_text()
        compiler = re.search("^CMAKE_CXX_COMPILER:[A-Z]+=(.*)", cache, re.MULTILINE)[1]
        with tempfile.TemporaryDirectory() as other:
            result = run(CMAKE, "-S", str(PROJECT), "-B", other, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={compiler}",
                         "-DBUILD_TESTING=OFF", "-DCMAKE_INSTALL_BINDIR=games", "-DCMAKE_INSTALL_LIBEXECDIR=lib/x")
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertIn('"${CMAKE_INSTALL_PREFIX}/lib/x/vantor-platformer"',
                          (Path(other) / "src/unpack/cmake_install.cmake").read_text())
            known = next(entry["command"] for entry in json.loads((Path(other) / "compile_commands.json").read_text())
                         if entry["file"].endswith("platform/Desktop.cpp"))
            self.assertIn("../lib/x/vantor-platformer/vantor-unpack", known)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
