"""What the tests of our tools share: where the project is, and how they run a tool."""

import subprocess
import sys
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]


def run_tool(name, *arguments, **options):
    """Runs the Python program tools/`name` to its end."""
    return subprocess.run([sys.executable, PROJECT / "tools" / name, *arguments], capture_output=True, text=True,
                          **options)
