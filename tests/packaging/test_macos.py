"""What goes into the bundle for macOS, as far as any system can check: its Info.plist, entitlements, icon, libraries.

    test_macos.py CMAKE SOURCE_FOLDER VERSION
"""

import os
import plistlib
import string
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CMAKE, PROJECT, VERSION = sys.argv[1], Path(sys.argv[2]), sys.argv[3]
DATA = PROJECT / "data"
ICONS = DATA / "icons"


class Bundle(unittest.TestCase):
    def test_the_description_is_complete(self):
        text = string.Template((DATA / "macos/Info.plist.in").read_text("utf-8")).substitute(
            MACOSX_BUNDLE_EXECUTABLE_NAME="vantor-platformer", PROJECT_VERSION=VERSION,
            CMAKE_OSX_DEPLOYMENT_TARGET="11.0")
        facts = plistlib.loads(text.encode())
        expected = {"CFBundleIdentifier": "io.github.kestrelwood.vantor-platformer", "CFBundlePackageType": "APPL",
                    "CFBundleShortVersionString": VERSION, "CFBundleVersion": VERSION, "LSMinimumSystemVersion": "11.0",
                    "LSApplicationCategoryType": "public.app-category.arcade-games"}
        self.assertEqual({name: facts.get(name) for name in expected}, expected)
        self.assertIs(facts["NSHighResolutionCapable"], True)
        self.assertTrue((ICONS / facts["CFBundleIconFile"]).is_file())

    def test_nothing_is_excepted_from_the_hardened_runtime(self):
        self.assertEqual(plistlib.loads((DATA / "macos/entitlements.plist").read_bytes()), {})

    def test_the_icon_holds_the_same_pictures_as_elsewhere(self):
        content = (ICONS / "vantor-platformer.icns").read_bytes()
        self.assertEqual(content[:8], b"icns" + struct.pack(">I", len(content)))
        pictures, place = [], 8
        while place < len(content):
            length = struct.unpack(">I", content[place + 4:place + 8])[0]
            pictures.append(content[place + 8:place + length])
            place += length
        self.assertEqual(place, len(content))
        for size in (16, 32, 64, 128, 256, 512):
            self.assertIn((ICONS / f"vantor-platformer-{size}.png").read_bytes(), pictures)

    def test_the_libraries_of_both_programs_go_into_the_bundle_that_is_installed(self):
        """Runs the real packaging rules in a project that pretends to be on a Mac, with a macdeployqt that only records
        its arguments."""
        with tempfile.TemporaryDirectory() as scratch:
            folder = Path(scratch)
            (folder / "bin").mkdir()
            tool = folder / "bin/macdeployqt"
            tool.write_text(f'#!/bin/sh\nprintf "%s\\n" "$@" >{folder}/asked\n')
            tool.chmod(0o755)
            (folder / "CMakeLists.txt").write_text(
                f'cmake_minimum_required(VERSION 3.25)\nproject(mac VERSION 1 LANGUAGES NONE)\nset(APPLE TRUE)\n'
                f'set(QT6_INSTALL_PREFIX "{folder}")\nlist(APPEND CMAKE_MODULE_PATH "{PROJECT}/cmake")\n'
                f'file(COPY "{PROJECT}/LICENSE" DESTINATION "{folder}")\ninclude(Packaging)\n')
            build, stage = folder / "build", folder / "a stage"
            for step in (["-S", folder, "-B", build], ["--install", build, "--prefix", stage]):
                run = subprocess.run([CMAKE, *step], env={**os.environ, "DESTDIR": ""}, capture_output=True, text=True)
                self.assertEqual(run.returncode, 0, run.stderr)
            bundle = stage / "vantor-platformer.app"
            self.assertEqual((folder / "asked").read_text().splitlines(),
                             [str(bundle), f"-executable={bundle}/Contents/MacOS/vantor-unpack"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
