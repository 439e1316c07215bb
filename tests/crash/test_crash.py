"""Interrupts the launcher at every moment: kills it, kills its child, or makes its system calls fail. Whatever happens, the
next start shows the true state, half an engine or half a game is never taken for a whole one, one press of Play leads to a
running game, nothing of the player's is lost and nothing is left over.

A moment is the one just before a system call that changes the disk or starts a process. Nothing changes between two such
calls, so there are no other moments. `test_crash.py all` goes through every one and verifies that it did; without "all" it
goes through a few of them.
"""

import collections
import concurrent.futures
import errno
import os
import random
import re
import signal
import sys
import time
import unittest

import system_calls
from crash_world import Findings, Scenario, World

SEED = 20240917
RANDOM_MOMENTS = 200
STEP = 61               # without "all", one in this many moments is tested

ERRORS = (errno.ENOSPC, errno.EIO, errno.EACCES)
DISK_CALLS = set(system_calls.NUMBERS) - system_calls.STARTS
CALLS_FOR_SPACE = DISK_CALLS - {"unlink", "unlinkat", "rmdir", "fchmod", "chmod", "fchmodat", "utimensat"}

ARCHIVE_PIECE = r"launcher: write .*\.zip\.part$"

everything = False


class Fault:
    """What goes wrong at a moment, given as the text of a call and which of its occurrences is meant; with `error`, a call
    fails with that."""

    import_is_whole = True

    def __init__(self, moment, error=0):
        self.text, self.time = moment
        self.error = error
        self.count = 0
        self.come = False
        self.over = False

    def __str__(self):
        return f"{self.text} ({self.time}) {errno.errorcode.get(self.error, '')}"

    @classmethod
    def can_meet(cls, call, error):
        return True

    def __call__(self, call):
        first = False
        if not self.come and str(call) == self.text:
            self.count += 1
            first = self.come = self.count == self.time
        return self.happen(call, first) if self.come and not self.over else 0


class LauncherKilled(Fault):
    """Only the launcher is killed: the unpacker ends with it, the engine does not."""

    def happen(self, call, first):
        if not first:
            return 0
        os.kill(call.launcher, signal.SIGKILL)
        return None if call.process == call.launcher else 0


class ChildKilled(Fault):
    import_is_whole = False     # not even the launcher can tell an interrupted import from a whole one

    @classmethod
    def can_meet(cls, call, error):
        return call.who != "launcher"

    def happen(self, call, first):
        if not first:
            return 0
        os.kill(call.process, signal.SIGKILL)
        return None


class CallFails(Fault):
    """The call at that moment fails, once."""

    @classmethod
    def can_meet(cls, call, error):
        return call.name in DISK_CALLS and call.who in ("launcher", "vantor-unpack")

    def happen(self, call, first):
        return self.error if first else 0


class StartFails(CallFails):
    """A process cannot be started, once."""

    @classmethod
    def can_meet(cls, call, error):
        return call.name in system_calls.STARTS


class CallsFail(CallFails):
    """All calls fail from that moment on, until the player has seen the outcome."""

    @classmethod
    def can_meet(cls, call, error):
        return super().can_meet(call, error) and (error != errno.ENOSPC or call.name in CALLS_FOR_SPACE)

    def happen(self, call, first):
        return self.error if self.can_meet(call, self.error) else 0


def cut_short(scenario, fault):
    """Returns what is wrong after a run with `fault`."""
    with Findings(scenario, fault.import_is_whole) as findings:
        if isinstance(fault, LauncherKilled):
            with findings.launcher(decide=fault) as launcher:
                launcher.wait()
                # What it started may still be alive.
                findings.check_next_start()
            return findings.texts
        again = [] if isinstance(fault, CallsFail) else ["wait", "play", "look"]
        with findings.launcher("look", *again, decide=fault) as launcher:
            ending = launcher.read()
            look = launcher.read()
            fault.over = True
            if scenario.press != "look":
                findings.check_ending(ending)
                if look and again:
                    findings.check_taken(look)
            if again:
                launcher.go_on()
                findings.check_run(launcher.read(), launcher.read())
            launcher.process.stdout.read()
            findings.check(launcher.wait() == 0, f"the launcher ended with {launcher.process.returncode}")
        findings.check_next_start()
        return findings.texts


def killed_after(scenario, seconds):
    """Returns what is wrong after a run that was killed after that time, whatever it was doing."""
    with Findings(scenario) as findings, findings.launcher() as launcher:
        time.sleep(seconds)
        launcher.process.kill()
        launcher.wait()
        findings.check_next_start()
        return findings.texts


def killed_while_it_updates(world):
    """Returns a home in which the old game has been moved away and the new one is not yet in place."""
    world.publish("new")
    folder = "/data/Vantor Platformer/"
    fault = LauncherKilled((f"launcher: renameat2 {folder}Temp/UUID/extract/Vantor-master -> {folder}Game", 1))
    findings = Findings(Scenario(world, "update", "update", world.whole["5"]))
    with findings.launcher(decide=fault) as launcher:
        launcher.wait()
    assert fault.come and not (findings.root / "Game").exists()
    return findings.home


class CrashTest(unittest.TestCase):
    turn = 0

    @classmethod
    def setUpClass(cls):
        cls.world = World()
        cls.addClassCleanup(cls.world.close)
        world = cls.world
        cls.scenarios = [
            Scenario(world, "first install", "play", world.nothing),
            Scenario(world, "update", "update", world.whole["5"]),
            Scenario(world, "reinstall", "reinstall", world.whole["5"]),
            Scenario(world, "remove everything", "remove", world.whole["5"]),
            Scenario(world, "first install of a 3.x game", "play", world.nothing, "4"),
            Scenario(world, "start after a crash", "look", killed_while_it_updates(world)),
        ]

    def each_moment(self, fault_of, error=0):
        for scenario in self.scenarios:
            with self.subTest(scenario.name, error=error):
                self.world.publish("new", scenario.line)
                counts = collections.Counter()
                moments = []
                for call in scenario.count():
                    counts[str(call)] += 1
                    if fault_of.can_meet(call, error):
                        moments.append((str(call), counts[str(call)]))
                faults = [fault_of(moment, error) for moment in moments if self.is_chosen()]
                begin = time.monotonic()
                self.report(scenario, faults, self.all_at_once(lambda fault: cut_short(scenario, fault), faults))
                # An archive arrives in a different number of chunks each time. Everything else must repeat.
                missed = [str(fault) for fault in faults if not fault.come and not re.search(ARCHIVE_PIECE, fault.text)]
                self.assertFalse(missed, "moments that did not come again")
                print(f"{scenario.name}: {sum(fault.come for fault in faults)} of {len(moments)} moments, "
                      f"{time.monotonic() - begin:.1f} s", flush=True)

    @staticmethod
    def is_chosen():
        CrashTest.turn += 1
        return everything or CrashTest.turn % STEP == 0

    @staticmethod
    def all_at_once(work, items):
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count() if everything else 1) as pool:
            return list(pool.map(work, items))

    def report(self, scenario, moments, findings):
        wrong = [f"{moment}: {text}" for moment, texts in zip(moments, findings) for text in texts]
        if wrong:
            self.fail(f"{scenario.name}:\n" + "\n".join(wrong))

    def test_the_launcher_killed_at_every_moment(self):
        self.each_moment(LauncherKilled)

    def test_its_child_killed_at_every_moment(self):
        self.each_moment(ChildKilled)

    def test_a_process_that_cannot_be_started(self):
        for error in (errno.EAGAIN, errno.EACCES):
            self.each_moment(StartFails, error)

    def test_each_call_failing_once(self):
        for error in ERRORS:
            self.each_moment(CallFails, error)

    def test_all_calls_failing_from_each_moment_on(self):
        for error in ERRORS:
            self.each_moment(CallsFail, error)

    def test_the_launcher_killed_at_random_moments(self):
        chance = random.Random(SEED)
        print(f"seed {SEED}")
        for scenario in self.scenarios[:2]:
            self.world.publish("new", scenario.line)
            begin = time.monotonic()
            with Findings(scenario) as findings, findings.launcher() as launcher:
                launcher.read()
                length = time.monotonic() - begin
            moments = [chance.uniform(0, length) for _ in range(RANDOM_MOMENTS // 2 if everything else 3)]
            self.report(scenario, moments, self.all_at_once(lambda moment: killed_after(scenario, moment), moments))


if __name__ == "__main__":
    everything = "all" in sys.argv
    if everything:
        sys.argv.remove("all")
    try:
        system_calls.Watched(["true"], "/", lambda call: 0).process.wait()
    except system_calls.NotPermitted as reason:
        print(f"Skipped: {reason}")
        sys.exit(77)
    unittest.main(verbosity=2)
