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
    def run_for(self, *tests, endings=()):
        """Each test is (status, output or reason); `endings` are ctest's words for how the failed ones ended."""
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
            return subprocess.run([sys.executable, COUNT_TESTS, results, log], capture_output=True, text=True)

    def count(self, *tests):
        """The summary line and the exit status."""
        run = self.run_for(*tests)
        return run.stdout, run.returncode

    def complaints(self, output, ending="Failed"):
        """What is printed about a failed test."""
        title, *lines = self.run_for(("fail", output), endings=[ending]).stderr.splitlines()
        self.assertEqual(title, "Failed in test 0:")
        return [line.removeprefix("    ") for line in lines]

    def test_functions_are_counted_without_the_beginning_and_the_end(self):
        self.assertEqual(self.count(("run", QT_OUTPUT)), ("2 passed, 0 failed, 1 skipped\n", 0))

    def test_a_program_that_says_nothing_counts_as_one(self):
        self.assertEqual(self.count(("run", ""), ("run", "all fine")), ("2 passed, 0 failed, 0 skipped\n", 0))

    def test_a_failing_function_counts_and_fails_the_run(self):
        self.assertEqual(self.count(("fail", "PASS   : A::a()\nFAIL!  : A::b() no\nFAIL!  : A::c() no\n")),
                         ("1 passed, 2 failed, 0 skipped\n", 1))

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
