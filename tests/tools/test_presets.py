"""Whether warnings are errors for us, and never for somebody who builds a release with a newer compiler."""

import json
import re
import subprocess
import unittest

from project import PROJECT



def variables(preset):
    """The variables that the preset sets or inherits, as CMake reads them. Configures nothing."""
    shown = subprocess.run(["cmake", "--preset", preset, "-N"], cwd=PROJECT, capture_output=True, text=True, check=True)
    return dict(re.findall(r'^  (\w+)="(.*)"$', shown.stdout, re.MULTILINE))


class Presets(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        presets = json.loads((PROJECT / "CMakePresets.json").read_text("utf-8"))["configurePresets"]
        cls.set = {preset["name"]: variables(preset["name"]) for preset in presets if not preset.get("hidden")}

    def test_warnings_are_errors_wherever_we_work(self):
        for name in self.set.keys() - {"release"}:
            self.assertEqual(self.set[name].get("WARNINGS_AS_ERRORS"), "ON", name)

    def test_nobody_who_builds_a_release_is_stopped_by_a_warning(self):
        self.assertNotIn("WARNINGS_AS_ERRORS", self.set["release"])
        self.assertNotIn("-Werror", " ".join(self.set["release"].values()))
        # Nor is anybody who uses no preset.
        self.assertRegex((PROJECT / "cmake/CommonOptions.cmake").read_text("utf-8"),
                         r'option\(WARNINGS_AS_ERRORS "[^"]+" OFF\)')

    def test_our_own_release_has_none(self):
        script = (PROJECT / ".ci/run").read_text("utf-8")
        strict = script.index("cmake --preset release --log-level=WARNING -D WARNINGS_AS_ERRORS=ON\n")
        for built in ("./test --preset release", '"the package in a fresh system" try_package'):
            self.assertLess(strict, script.index(built))


if __name__ == "__main__":
    unittest.main()
