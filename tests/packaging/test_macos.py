"""What the bundle for macOS is made of, as far as any system can tell: its description, its icon, what it may do.

    test_macos.py SOURCE_FOLDER VERSION
"""

import plistlib
import string
import struct
import sys
import unittest
from pathlib import Path

DATA, VERSION = Path(sys.argv[1]) / "data", sys.argv[2]
ICONS = DATA / "icons"


class Bundle(unittest.TestCase):
    def test_the_description_is_complete(self):
        text = string.Template((DATA / "macos/Info.plist.in").read_text("utf-8")).substitute(
            MACOSX_BUNDLE_EXECUTABLE_NAME="vantor-platformer", PROJECT_VERSION=VERSION, CMAKE_OSX_DEPLOYMENT_TARGET="11.0")
        facts = plistlib.loads(text.encode())
        self.assertEqual(facts["CFBundleIdentifier"], "io.github.kestrelwood.vantor-platformer")
        self.assertEqual(facts["CFBundlePackageType"], "APPL")
        self.assertEqual(facts["CFBundleShortVersionString"], VERSION)
        self.assertEqual(facts["CFBundleVersion"], VERSION)
        self.assertEqual(facts["LSApplicationCategoryType"], "public.app-category.arcade-games")
        self.assertEqual(facts["LSMinimumSystemVersion"], "11.0")
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


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
