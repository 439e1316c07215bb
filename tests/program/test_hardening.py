"""Checks the players' program files: a program whose memory is corrupted must end rather than carry on.

    test_hardening.py [--fortified] PROGRAM...
"""

import re
import subprocess
import sys
import unittest

programs = [argument for argument in sys.argv[1:] if not argument.startswith("--")]
fortified = "--fortified" in sys.argv


def read(program, *what):
    return subprocess.run(["readelf", "--wide", *what, program], capture_output=True, text=True, check=True).stdout


class Hardening(unittest.TestCase):
    def every(self, check):
        self.assertTrue(programs)
        for program in programs:
            with self.subTest(program=program):
                check(program)

    def test_programs_lie_at_an_address_that_nobody_can_foresee(self):
        self.every(lambda program: self.assertRegex(read(program, "--dynamic"), r"\(FLAGS_1\).*\bPIE\b"))

    def test_what_is_looked_up_at_the_start_cannot_be_overwritten(self):
        def check(program):
            self.assertIn("GNU_RELRO", read(program, "--program-headers"))
            self.assertRegex(read(program, "--dynamic"), r"\(FLAGS_1\).*\bNOW\b")

        self.every(check)

    def test_data_cannot_be_run(self):
        def check(program):
            segments = re.findall(r"^ *(GNU_STACK|LOAD) .* ([R ][W ][E ]) +(?:0x)?\w+$",
                                  read(program, "--program-headers"), re.MULTILINE)
            self.assertIn("GNU_STACK", [kind for kind, _ in segments])
            for _, rights in segments:
                self.assertNotIn("WE", rights)

        self.every(check)

    def test_a_damaged_stack_ends_the_program(self):
        self.every(lambda program: self.assertIn("__stack_chk_fail", read(program, "--dyn-syms")))

    @unittest.skipUnless(fortified, "only where the compiler optimises")
    def test_copies_that_are_too_long_end_the_program(self):
        self.every(lambda program: self.assertRegex(read(program, "--dyn-syms"), r"__\w+_chk@"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
