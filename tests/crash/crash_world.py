"""Players whose launcher is interrupted, for test_crash.py: what they have, what they do, and what must be true of
their disks afterwards."""

import contextlib
import json
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

import system_calls

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))
from local_launcher import LONG, PROGRAMS, PROJECT_FILE, CodeHost, environment


def tree(folder):
    """Every file and folder below `folder`, with the contents of the files."""
    found = {}
    for path in sorted(Path(folder).rglob("*")):
        name = path.relative_to(folder).as_posix()
        found[name] = path.read_bytes() if path.is_file() else "a folder"
    return found


def end_session(session):
    """Kills what a launcher left running, as logging off does."""
    for folder in Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            if int((folder / "stat").read_text().rpartition(")")[2].split()[3]) == session:
                os.kill(int(folder.name), signal.SIGKILL)


class World:
    """A code host, and players' homes with and without an installed game."""

    def __init__(self):
        self.folder = Path(tempfile.mkdtemp())
        self.games = {}
        self.engine = self.folder / "engine"
        # Long enough for the program and its archive to be written in several chunks.
        self.engine.write_bytes((PROGRAMS / "crash_engine").read_bytes() + random.Random(1).randbytes(150000))
        self.engine.chmod(0o755)
        self.repository = self.folder / "repository"
        self.repository.mkdir()
        self.host = CodeHost(self.repository, self.engine)

        self.nothing = self.folder / "nothing"
        for name in ("data/godot/app_userdata/Hill Run/save.dat", "config/vantor-platformer/vantor-platformer.conf"):
            file = self.nothing / name
            file.parent.mkdir(parents=True)
            file.write_text("[General]\nresolution=1280x720\n")
        self.precious = self.precious_of(self.nothing)

        self.whole = {}
        for line in ("5", "4"):
            self.publish("old", line)
            self.whole[line] = self.folder / ("whole" + line)
            shutil.copytree(self.nothing, self.whole[line])
            with Launcher(self, self.whole[line], "play") as launcher:
                assert launcher.read()["ran"]

    def close(self):
        self.host.close()
        shutil.rmtree(self.folder)

    def publish(self, age, line="5"):
        """Makes the code host serve the game of this age, "old" or "new"."""
        shutil.rmtree(self.repository)
        (self.repository / "levels").mkdir(parents=True)
        (self.repository / "project.godot").write_text(PROJECT_FILE.format(line=line))
        (self.repository / "README.md").write_text(f"The {age} game.\n")
        (self.repository / "levels" / age).write_bytes(random.Random(age).randbytes(40000))
        self.games[age, line] = tree(self.repository)

    def home(self, template):
        folder = Path(tempfile.mkdtemp(dir=self.folder))
        shutil.copytree(template, folder, dirs_exist_ok=True)
        return folder

    @staticmethod
    def precious_of(home):
        return {**tree(home / "data" / "godot"), **tree(home / "config")}


class Launcher:
    """The launcher, running in `home`. With `decide`, its system calls are watched."""

    def __init__(self, world, home, *commands, decide=None):
        command = [PROGRAMS / "crash_launcher", world.host.address, *commands]
        more = dict(env=environment(home, QT_QPA_PLATFORM="offscreen"), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                    text=True, start_new_session=True)
        self.process = (system_calls.Watched(command, home, decide, **more).process if decide
                        else subprocess.Popen(command, **more))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.wait()
        self.process.stdout.close()
        end_session(self.process.pid)

    def read(self):
        """Returns what the launcher prints next, or None when it has ended."""
        line = self.process.stdout.readline()
        return json.loads(line) if line else None

    def go_on(self):
        self.process.stdin.write("\n")
        self.process.stdin.flush()

    def wait(self):
        """Returns its exit status."""
        return self.process.wait(LONG)


class Scenario:
    """What a player does, and in which home. Looking at an installed game, like updating it, must keep it."""

    def __init__(self, world, name, press, template, line="5"):
        self.world, self.name, self.press, self.template, self.line = world, name, press, template, line
        self.calls = []

    @property
    def keeps_the_game(self):
        return self.press in ("update", "look")

    def count(self):
        """Returns the calls of an undisturbed run."""
        if self.calls:
            return self.calls
        with Findings(self) as findings, findings.launcher(decide=lambda call: self.calls.append(call) or 0) as launcher:
            launcher.read()
        return self.calls


class Findings:
    """What is wrong in a home of its own, which holds what the scenario begins with. Each finding is a text."""

    def __init__(self, scenario, import_is_whole=True):
        self.scenario, self.home = scenario, scenario.world.home(scenario.template)
        self.import_is_whole = import_is_whole
        self.root = self.home / "data" / "Vantor Platformer"
        self.texts = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.home, ignore_errors=True)

    def launcher(self, *more, **options):
        """The launcher, doing what the scenario says and then `more`."""
        return Launcher(self.scenario.world, self.home, self.scenario.press, *more, **options)

    def check(self, condition, text):
        if not condition:
            self.texts.append(text)

    def check_nothing_left(self):
        temporary = self.root / "Temp"
        self.check(not temporary.exists() or not os.listdir(temporary), f"Temp holds {sorted(tree(temporary))}")
        if self.root.exists():
            odd = set(os.listdir(self.root)) - {"Game", "Engine", "Temp"}
            self.check(not odd, f"the launcher's folder holds {odd}")

    def check_precious(self):
        self.check(World.precious_of(self.home) == self.scenario.world.precious, "saves or preferences changed")

    def check_shown(self, look):
        complete = "game" in look and "engine" in look and look["imported"]
        self.check(look["state"] == ("ready" if complete else "notDownloaded"), f"it shows {look}")

    def check_taken(self, look):
        """Checks that what counts as installed is complete."""
        if "game" in look:
            self.check_game(look["imported"] and self.import_is_whole)
        elif self.scenario.keeps_the_game:
            self.texts.append("the game is lost")
        if "engine" in look:
            self.check(Path(look["engine"]).read_bytes() == self.scenario.world.engine.read_bytes(),
                       "half an engine is taken as installed")
        self.check_precious()

    def check_game(self, is_imported):
        found = tree(self.root / "Game")
        generated = {name: found.pop(name) for name in list(found)
                     if name.split("/")[0] in (".godot", ".import") or name.startswith(".imported-")}
        if self.scenario.line == "4" and "project.godot" in found:
            found["project.godot"] = found["project.godot"].partition(b"\n[input_devices]")[0]
        whole = [game for (_, line), game in self.scenario.world.games.items() if line == self.scenario.line]
        self.check(found in whole, f"the game is neither the old one nor the new one: {sorted(found)}")
        if is_imported:
            self.check({".godot/whole", ".import/whole"} & set(generated), "half an import is taken for a whole one")

    def check_ending(self, ending):
        """Checks that an action with a fault either succeeded or says in one sentence why not."""
        if ending is None:
            self.texts.append("the launcher is gone")
            return
        sentence = ending.get("sentence")
        if sentence is None:
            self.check(ending["ran"] or "notice" in ending, f"neither done nor failed: {ending}")
            return
        self.check(ending["state"] == "needs", f"a failure is shown in the state {ending['state']}")
        self.check(sentence and sentence[-1] in ".:" and "\n" not in sentence and len(sentence) < 300,
                   f"not one sentence: {sentence}")

    def check_next_start(self):
        """Checks the next start, one press of Play and, where there was a game to keep, one of Update."""
        updating = ["wait", "update", "look"] if self.scenario.keeps_the_game else []
        with Launcher(self.scenario.world, self.home, "look", "wait", "play", "look", *updating) as launcher:
            look = launcher.read()
            self.check_shown(look)
            self.check_taken(look)
            self.check_nothing_left()
            launcher.go_on()
            self.check_run(launcher.read(), launcher.read())
            if updating:
                launcher.go_on()
                ending = launcher.read()
                self.check(ending and "notice" in ending, f"the next Update ended with {ending}")
                self.check_taken(launcher.read())
                self.check_nothing_left()

    def check_run(self, ending, look):
        if not ending or not ending["ran"]:
            self.texts.append(f"Play did not reach a running game: {ending}")
            return
        self.check(look["state"] == "ready", f"after playing it shows {look['state']}")
        self.check_taken(look)
        self.check_nothing_left()
