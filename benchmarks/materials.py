"""The test data: archives, folder trees and a launcher's folder, made once below build/bench and kept."""

import hashlib
import os
import random
import shutil
import subprocess
import zipfile
from pathlib import Path

ENGINE_VERSION = "4.4"
ENGINE_NAME = f"Godot_v{ENGINE_VERSION}-stable_linux.{os.uname().machine.replace('aarch64', 'arm64')}"
PROJECT = f'''config_version=5

[application]

config/name="Measured Game"
run/main_scene="res://main.tscn"
config/features=PackedStringArray("{ENGINE_VERSION}", "GL Compatibility")
'''
README = "# Measured Game\n\nA game that exists to be measured, with a paragraph of the usual length that says so.\n"


def once(make):
    """Decorates a function that makes a file or folder: it runs only if the path does not exist, and returns the path."""
    def at(path, *arguments):
        if not path.exists():
            unfinished = path.with_name(path.name + ".unfinished")
            subprocess.run(["rm", "-rf", unfinished], check=True)
            path.parent.mkdir(parents=True, exist_ok=True)
            print(f"Making {path.name}", flush=True)
            make(unfinished, *arguments)
            unfinished.rename(path)
        return path
    return at


def words(chance, length):
    """Text that compresses about as well as scripts do."""
    vocabulary = ("func", "var", "velocity", "delta", "if", "return", "position", "move_and_slide()", "print", "0.5",
                  "Vector2", "extends", "signal", "jump", "speed", "\n", "\n\t")
    text = " ".join(chance.choice(vocabulary) for _ in range(length // 5))
    return text[:length].encode()


@once
def engine_archive(target, program, share):
    """A release's archive with the first `share` (0 to 1) of a real engine program in it."""
    folder = target.with_suffix(".folder")
    folder.mkdir(exist_ok=True)
    copy = folder / ENGINE_NAME
    data = program.read_bytes()
    copy.write_bytes(data[:int(len(data) * share)])
    copy.chmod(0o755)
    subprocess.run(["zip", "-q", "-", ENGINE_NAME], cwd=folder, check=True, stdout=open(target, "wb"))
    shutil.rmtree(folder)


@once
def game_archive(target, files):
    """A branch archive with that many files: scripts, and pictures, which hardly compress."""
    chance = random.Random(files)
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("Vantor-master/project.godot", PROJECT)
        archive.writestr("Vantor-master/README.md", README)
        archive.writestr("Vantor-master/LICENSE", "MIT License\n\nCopyright (c) 2024 Somebody\n")
        for number in range(files - 3):
            folder = f"Vantor-master/folder{number // 100}"
            if number % 4:
                archive.writestr(f"{folder}/script{number}.gd", words(chance, chance.randrange(500, 4000)))
            else:
                archive.writestr(f"{folder}/picture{number}.png", chance.randbytes(chance.randrange(1000, 30000)))


@once
def folder_tree(target, files):
    for folder in range(files // 1000):
        below = target / f"folder{folder}"
        below.mkdir(parents=True)
        for number in range(1000):
            (below / f"file{number}.txt").write_bytes(b"x" * (number % 5000))


@once
def project(target):
    """A typical game project: a README without controls, a licence, and scripts."""
    chance = random.Random(201)
    (target / "scripts").mkdir(parents=True)
    (target / "project.godot").write_text(PROJECT)
    (target / "README.md").write_text(README * 20)
    (target / "LICENSE").write_text("MIT License\n\nCopyright (c) 2024 Somebody\n" + "Permission is granted.\n" * 20)
    for number in range(201):
        (target / "scripts" / f"script{number}.gd").write_bytes(words(chance, chance.randrange(500, 4000)))


@once
def noughts(target, size):
    """A file of `size` zero bytes, for where the content does not matter."""
    with open(target, "wb") as file:
        file.truncate(size)


def launcher_home(target, game, engine):
    """Makes the folders of a returning player anew, with `game` and `engine`; returns the environment that names them."""
    subprocess.run(["rm", "-rf", target], check=True)
    root = target / "data" / "Vantor Platformer"
    installed = root / "Engine" / ENGINE_VERSION
    installed.mkdir(parents=True)
    shutil.copytree(game, root / "Game")
    (root / "Game" / f".imported-{ENGINE_VERSION}").touch()
    shutil.copy(engine, installed / ENGINE_NAME)
    return {"XDG_DATA_HOME": str(target / "data"), "XDG_CONFIG_HOME": str(target / "config"),
            "XDG_CACHE_HOME": str(target / "cache")}


def checksum_list(target, archive):
    target.write_text(f"{hashlib.sha512(archive.read_bytes()).hexdigest()}  {ENGINE_NAME}.zip\n")
    return target
