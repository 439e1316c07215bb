"""What ./test builds for the tests that it is told to run."""

import json
import unittest

from project import run_tool

BIN = "/project/build/dev/bin"


def test(name="a test", command=("python3", "/project/tests/a.py"), **properties):
    return {"name": name, "command": list(command),
            "properties": [{"name": key, "value": value} for key, value in properties.items()]}


SCRIPT = test()


class Targets(unittest.TestCase):
    def built_for(self, *tests):
        return run_tool("test-programs", BIN, input=json.dumps({"tests": tests}), check=True).stdout.split()

    def test_a_program_for_the_test_that_is_one(self):
        self.assertEqual(self.built_for(test(command=[f"{BIN}/SheetTest"]), SCRIPT), ["SheetTest"])

    def test_a_program_that_is_not_built_yet_is_found_by_the_name_of_its_test(self):
        self.assertEqual(self.built_for(test("PlayTest-engine-3", command=[])), ["PlayTest"])
        self.assertEqual(self.built_for(test("no such source", command=[])), ["all"])

    def test_the_programs_that_a_script_requires(self):
        self.assertEqual(self.built_for(test(REQUIRED_FILES=[f"{BIN}/b", f"{BIN}/a"], ENVIRONMENT=[f"PROGRAMS={BIN}"])),
                         ["a", "b"])

    def test_everything_for_a_script_that_uses_the_build_folder_and_does_not_say_what_of_it(self):
        for uses in (test(ENVIRONMENT=[f"PROGRAMS={BIN}"]), test(command=["python3", "/project/build/dev"])):
            self.assertEqual(self.built_for(uses, test(command=[f"{BIN}/SheetTest"])), ["all"])

    def test_nothing_for_a_script_that_uses_no_program(self):
        self.assertEqual(self.built_for(SCRIPT, test(WORKING_DIRECTORY="/project/build/dev/tests")), [])


if __name__ == "__main__":
    unittest.main()
