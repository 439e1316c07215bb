"""What every test of whole processes needs: where the programs are, a home of the player's own, and a code host."""

import os
import subprocess
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
PROGRAMS = Path(os.environ.get("LAUNCHER_PROGRAMS", PROJECT / "build" / "dev" / "bin"))
LONG = 120     # seconds; the limit for anything, on a slow and busy machine

PROJECT_FILE = """config_version={line}
[application]
config/name="Hill Run"
config/features=PackedStringArray("4.6")
"""


def environment(home, **more):
    return dict(os.environ, HOME=str(home), XDG_DATA_HOME=str(home / "data"), XDG_CONFIG_HOME=str(home / "config"),
                XDG_CACHE_HOME=str(home / "cache"), **more)


class CodeHost:
    """tools/code-host as a process, until `close`."""

    def __init__(self, game, engine, *options):
        self.process = subprocess.Popen([PROJECT / "tools" / "code-host", "--game", game, "--engine", engine,
                                         "--until-stdin-closes", *options],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.address = self.process.stdout.readline().removeprefix("Serving on ").strip()

    def close(self):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()
