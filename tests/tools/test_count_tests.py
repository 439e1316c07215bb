"""The summary line of a test run."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from xml.sax.saxutils import escape

COUNT_TESTS = Path(__file__).resolve().parents[2] / "tools" / "count-tests"
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


class Counting(unittest.TestCase):
    def count(self, *tests):
        """The summary line and the exit status. Each test is (status, output or reason)."""
        run = self.run_for(*tests)
        return run.stdout, run.returncode

    def run_for(self, *tests):
        cases = ""
        for status, text in tests:
            inner = f"<system-out>{escape(text)}</system-out>"
            if status == "notrun":
                inner = f'<skipped message="{text}"/><system-out></system-out>'
            cases += f'<testcase name="a" status="{status}">{inner}</testcase>'
        with tempfile.NamedTemporaryFile("w", suffix=".xml") as file:
            file.write(f"<testsuite>{cases}</testsuite>")
            file.flush()
            return subprocess.run([sys.executable, COUNT_TESTS, file.name], capture_output=True, text=True)

    def test_functions_are_counted_without_the_beginning_and_the_end(self):
        self.assertEqual(self.count(("run", QT_OUTPUT)), ("2 passed, 0 failed, 1 skipped\n", 0))

    def test_a_program_that_says_nothing_counts_as_one(self):
        self.assertEqual(self.count(("run", ""), ("run", "all fine")), ("2 passed, 0 failed, 0 skipped\n", 0))

    def test_a_failing_function_counts_and_fails_the_run(self):
        self.assertEqual(self.count(("fail", "PASS   : A::a()\nFAIL!  : A::b() no\nFAIL!  : A::c() no\n")),
                         ("1 passed, 2 failed, 0 skipped\n", 1))

    def test_what_failed_is_named_where_it_is_seen(self):
        crash = ("PASS   : A::a()\nQFATAL : A::b() There is no button \"Play\".\n"
                 "FAIL!  : A::b() Received a fatal error.\n#1 x\n")
        python = "..E\n===\nERROR: test_x (A.test_x)\n---\nRan 3 tests in 1.2s\n\nFAILED (errors=1)\n"
        self.assertEqual(self.run_for(("run", QT_OUTPUT), ("fail", crash), ("fail", python), ("fail", "")).stderr,
                         "Failed in a:\n    QFATAL : A::b() There is no button \"Play\".\n"
                         "    FAIL!  : A::b() Received a fatal error.\n"
                         "Failed in a:\n    ERROR: test_x (A.test_x)\n"
                         "Failed in a:\n    It says no more.\n")

    def test_a_crash_counts_as_a_failure(self):
        self.assertEqual(self.count(("fail", "PASS   : A::a()\n")), ("1 passed, 1 failed, 0 skipped\n", 1))

    def test_a_beginning_that_fails_counts(self):
        self.assertEqual(self.count(("fail", "FAIL!  : A::initTestCase() no\nPASS   : A::cleanupTestCase()\n")),
                         ("0 passed, 1 failed, 0 skipped\n", 1))

    def test_a_program_whose_functions_were_all_skipped_passed_nothing(self):
        self.assertEqual(self.count(("run", "SKIP   : A::initTestCase() why\nPASS   : A::cleanupTestCase()\n")),
                         ("0 passed, 0 failed, 1 skipped\n", 1))

    def test_a_skipped_program_is_skipped(self):
        self.assertEqual(self.count(("run", ""), ("notrun", "SKIP_RETURN_CODE=77"), ("disabled", "")),
                         ("1 passed, 0 failed, 2 skipped\n", 0))

    def test_a_program_that_could_not_be_started_failed(self):
        self.assertEqual(self.count(("run", ""), ("notrun", "Unable to find executable")),
                         ("1 passed, 1 failed, 0 skipped\n", 1))

    def test_python_says_how_many_ran(self):
        self.assertEqual(self.count(("run", "...s\n---\nRan 4 tests in 1.2s\n\nOK (skipped=1)\n")),
                         ("3 passed, 0 failed, 1 skipped\n", 0))
        self.assertEqual(self.count(("fail", "..E\n---\nRan 4 tests in 1.2s\n\nFAILED (failures=1, errors=1)\n")),
                         ("2 passed, 2 failed, 0 skipped\n", 1))

    def test_no_tests_and_no_results_are_no_success(self):
        self.assertEqual(self.count(), ("0 passed, 0 failed, 0 skipped\n", 1))
        run = subprocess.run([sys.executable, COUNT_TESTS, "/no/such/file"], capture_output=True, text=True)
        self.assertEqual((run.stdout, run.returncode), ("0 passed, 0 failed, 0 skipped\n", 1))
        self.assertIn("cannot be read", run.stderr)


if __name__ == "__main__":
    unittest.main()
