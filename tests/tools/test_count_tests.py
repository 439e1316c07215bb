"""The summary line of a test run."""

import tempfile
import unittest
from pathlib import Path
from xml.sax.saxutils import escape

from project import run_tool

QT_OUTPUT = """\
********* Start testing of LineSplitterTest *********
PASS   : LineSplitterTest::initTestCase()
PASS   : LineSplitterTest::aLineIsEmittedOnce(row one)
PASS   : LineSplitterTest::aLineIsEmittedOnce(row two)
SKIP   : LineSplitterTest::aDiskThatIsFull() needs a small disk
QDEBUG : LineSplitterTest::other() PASS   : not a result
PASS   : LineSplitterTest::cleanupTestCase()
Totals: 4 passed, 0 failed, 1 skipped, 0 blacklisted, 12ms
"""

# What is counted: a sentence, the summary, the exit status, and the tests, each a status and the output or the reason.
COUNTED = {
    "functions, without the beginning and the end": ("2 passed, 0 failed, 1 skipped", 0, ("run", QT_OUTPUT)),
    "a program that says nothing, as one": ("2 passed, 0 failed, 0 skipped", 0, ("run", ""), ("run", "all fine")),
    "a failing function, which fails the run": (
        "1 passed, 2 failed, 0 skipped", 1, ("fail", "PASS   : A::a()\nFAIL!  : A::b() no\nFAIL!  : A::c() no\n")),
    "a crash, as a failure": ("1 passed, 1 failed, 0 skipped", 1, ("fail", "PASS   : A::a()\n")),
    "a beginning that fails": (
        "0 passed, 1 failed, 0 skipped", 1, ("fail", "FAIL!  : A::initTestCase() no\nPASS   : A::cleanupTestCase()\n")),
    "a program whose functions were all skipped, as nothing passed": (
        "0 passed, 0 failed, 1 skipped", 1, ("run", "SKIP   : A::initTestCase() why\nPASS   : A::cleanupTestCase()\n")),
    "a skipped program, as skipped": (
        "1 passed, 0 failed, 2 skipped", 0, ("run", ""), ("notrun", "SKIP_RETURN_CODE=77"), ("disabled", "")),
    "a program that could not be started, as failed": (
        "1 passed, 1 failed, 0 skipped", 1, ("run", ""), ("notrun", "Unable to find executable")),
    "what Python says that it ran": (
        "3 passed, 0 failed, 1 skipped", 0, ("run", "...s\n---\nRan 4 tests in 1.2s\n\nOK (skipped=1)\n")),
    "what Python says that failed": (
        "2 passed, 2 failed, 0 skipped", 1,
        ("fail", "..E\n---\nRan 4 tests in 1.2s\n\nFAILED (failures=1, errors=1)\n")),
    "no tests, as no success": ("0 passed, 0 failed, 0 skipped", 1),
}


class Counting(unittest.TestCase):
    def run_for(self, *tests, endings=()):
        """The run of the tool; `endings` are ctest's words for how the failed ones of `tests` ended."""
        cases = ""
        for number, (status, text) in enumerate(tests):
            inner = f"<system-out>{escape(text)}</system-out>"
            if status == "notrun":
                inner = f'<skipped message="{text}"/><system-out></system-out>'
            cases += f'<testcase name="test {number}" status="{status}">{inner}</testcase>'
        with tempfile.TemporaryDirectory() as folder:
            results, log = Path(folder, "results.xml"), Path(folder, "log")
            results.write_text(f"<testsuite>{cases}</testsuite>")
            log.write_text("1 - test 0 (Passed)\nThe following tests FAILED:\n"
                           + "".join(f"\t  {number} - test {number} ({ending})\n" for number, ending in enumerate(endings)))
            return run_tool("count-tests", results, log)

    def complaints(self, output, ending="Failed"):
        """What is printed about a failed test."""
        title, *lines = self.run_for(("fail", output), endings=[ending]).stderr.splitlines()
        self.assertEqual(title, "Failed in test 0:")
        return [line.removeprefix("    ") for line in lines]

    def test_what_failed_is_named_where_it_is_seen(self):
        self.assertEqual(self.run_for(("run", QT_OUTPUT)).stderr, "")
        self.assertEqual(self.complaints("PASS   : A::a()\nQFATAL : A::b() There is no button \"Play\".\n"
                                         "FAIL!  : A::b() Received a fatal error.\n#1 x\n", "Subprocess aborted")[:2],
                         ["QFATAL : A::b() There is no button \"Play\".", "FAIL!  : A::b() Received a fatal error."])
        self.assertEqual(self.complaints("..E\n===\nERROR: test_x (A.test_x)\n---\nRan 3 tests in 1.2s\n\n"
                                         "FAILED (errors=1)\n"), ["ERROR: test_x (A.test_x)"])

    def test_a_program_that_crashes_is_named_with_its_signal_and_its_last_lines(self):
        self.assertEqual(self.complaints("PASS   : A::a()\nQWARN  : A::b() here\n"
                                         "Received signal 11 (SIGSEGV), code 1, for address 0x0\n"
                                         "         b function time: 0ms, total time: 8ms\n\n=== Stack trace ===\n#0 x\n",
                                         "SEGFAULT"),
                         ["b() was ended by SIGSEGV.", "It printed last:", "    PASS   : A::a()", "    QWARN  : A::b() here"])
        last = [str(number) for number in range(20)]
        self.assertEqual(self.complaints("\n".join(last), "Subprocess killed"),
                         ["It was ended by SIGKILL, from outside or for lack of memory.", "It printed last:",
                          *("    " + line for line in last[-5:])])

    def test_a_program_that_says_nothing_is_described_by_how_it_ended(self):
        for ending, sentence in (("Timeout", "It was ended because it took longer than its time limit."),
                                 ("Failed", "It failed and does not say why."), ("Odd", "It was ended: Odd.")):
            self.assertEqual(self.complaints("", ending), [sentence, "It printed nothing."])

    def test_what_failed_before_the_time_was_over_is_named_with_it(self):
        self.assertEqual(self.complaints("FAIL!  : A::a() no\n", "Timeout"),
                         ["FAIL!  : A::a() no", "It was ended because it took longer than its time limit."])

    def test_what_is_counted(self):
        for sentence, (summary, status, *tests) in COUNTED.items():
            with self.subTest(sentence):
                run = self.run_for(*tests)
                self.assertEqual((run.stdout, run.returncode), (summary + "\n", status))

    def test_results_that_cannot_be_read_are_no_success(self):
        run = run_tool("count-tests", "/no/such/file")
        self.assertEqual((run.stdout, run.returncode), ("0 passed, 0 failed, 0 skipped\n", 1))
        self.assertIn("cannot be read", run.stderr)


if __name__ == "__main__":
    unittest.main()
