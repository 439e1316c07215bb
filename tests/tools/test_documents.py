"""Whether the documents can be relied on: something runs every command, and everything named exists.

Every command in a document, in a block or within a sentence, must be one of these:
- a tool of ours without arguments: it is run here with --help;
- one that is run here as it stands (RUN_HERE);
- one that CI or a test runs (RUN_ELSEWHERE): the words that run it must be found there;
- part of a block that nobody can run yet, as the paragraph right before the block tells the reader (NOT_RUN).
"""

import json
import os
import re
import subprocess
import unittest
from functools import lru_cache
from pathlib import Path

from project import PROJECT

NOT_RUN = "**Not run by anybody yet.**"
PROGRAMS_OF_A_MAC = ("xcrun", "codesign")    # the sentences around such a block may name them too

RUN_HERE = {
    # Something is found in each.
    'grep -rnE "(Show|Hide).* log" src tests tools': {"src", "tests", "tools"},
}
# A pattern for the command, the file that runs it, and the words to find there.
RUN_ELSEWHERE = {
    r"\.ci/run": (".github/workflows/checks.yml", "run: .ci/run"),
    r"\./run": (".ci/run", '"it plays" ./run\n'),
    r"\./run --engine 3": (".ci/run", "./run --engine 3"),
    r"\./run --online": (".ci/run", "./run --online"),
    r"\./test": (".ci/run", '"tests" ./test\n'),
    r"\./test --long": (".github/workflows/long.yml", "run: ./test --long"),
    r"\./test( --preset \w+)?( -R (\w+|'[\w|]+'))?": (".ci/run", "./test --preset clang -R Fuzz"),
    r"\./bench( (--runs \d+|[a-z]+))*": (".github/workflows/long.yml", "run: ./bench"),
    r"cmake --preset dev": ("run", "cmake --preset dev "),
    r"cmake --build --preset dev": ("run", "cmake --build --preset dev "),
    r"ctest --preset dev -R \w+": ("test", 'ctest --preset "$preset" '),
    r"cmake --preset release": ("tools/make-package", "cmake --preset release "),
    r"cmake --build --preset release --target vantor-platformer vantor-unpack":
        ("tools/make-package", "cmake --build --preset release --target vantor-platformer vantor-unpack\n"),
    r"sudo cmake --install build/release": ("tests/packaging/test_install.py", 'run(CMAKE, "--install", BUILD,'),
    r"sudo apt-get install \./build/release/vantor-platformer_\*\.deb":
        ("tools/try-package", "$apt install --no-install-recommends /tmp/package.deb"),
    r"sudo apt-get purge vantor-platformer": ("tools/try-package", "$apt purge vantor-platformer "),
    r"tools/render-states --docs": (".ci/run", "$(tools/render-states --docs)"),
    r"tools/set-up": ("test", "    tools/set-up\n"),
    r"tools/make-package": (".ci/run", "$(tools/make-package)"),
    r"git archive": ("tests/unpack/HonestArchivesTest.cpp", "git archive --format=zip"),
    r"vantor-unpack --check": ("tests/unpack/UnpackProgramTest.cpp", '"--check"'),
}
SCRIPTS = ("run", "test", ".ci/run")
OURS = (*SCRIPTS, "bench")
# A name that starts with one of these folders is a file's.
FOLDERS = ("src", "tests", "tools", "benchmarks", "docs", "data", "samples", "cmake", ".github", ".ci")
BLOCK = re.compile(r"(?<=\n\n)((?: {4}[^\n]*\n|\n(?= {4}))+)|^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


# What the project has

@lru_cache(None)
def content(path):
    return (PROJECT / path).read_text("utf-8")


@lru_cache(None)
def presets(kind):
    return {preset["name"] for preset in json.loads(content("CMakePresets.json"))[kind] if not preset.get("hidden")}


@lru_cache(None)
def tests():
    """The tests of every build: those with sanitizers and those on other systems lack some."""
    rules = "".join(file.read_text("utf-8") for file in (PROJECT / "tests").glob("*/CMakeLists.txt"))
    found = re.findall(r'^ *add_(?:\w+_test\(|fuzzer\(|test\(NAME )(?:"([^"]+)"|([\w-]+))', rules, re.MULTILINE)
    return [quoted or plain for quoted, plain in found]


@lru_cache(None)
def words_of_the_source():
    sources = [file for folder in ("src", "tests", "tools", "cmake", "benchmarks")
               for file in (PROJECT / folder).rglob("*")
               if file.is_file() and "corpus" not in file.parts and file.name != Path(__file__).name]
    return set(re.findall(r"\w+", " ".join(file.read_text("utf-8", "replace") for file in sources)))


def is_program(word):
    file = PROJECT / word
    return file.is_file() and os.access(file, os.X_OK)


def tools():
    return sorted(str(file.relative_to(PROJECT)) for file in (PROJECT / "tools").iterdir() if is_program(file))


# What a document has

class Document:
    def __init__(self, path, text):
        self.path, self.folder = path, (PROJECT / path).parent
        self.text = text
        self.blocks = []          # (the paragraph before, the lines)
        for found in BLOCK.finditer(text):
            if found[2] in (None, "", "sh"):
                before = text[:found.start()].rstrip().rsplit("\n\n", 1)[-1]
                lines = (found[1] or found[3]).split("\n")
                self.blocks.append((before, [re.sub(r"(^|\s+)# .*", "", line).strip() for line in lines]))
        self.prose = BLOCK.sub("\n", text)
        self.codes = [" ".join(code.split()) for code in re.findall(r"`([^`]+)`", self.prose)]

    def commands(self):
        for before, lines in self.blocks:
            if NOT_RUN not in before:
                yield from filter(None, lines)
        for code in self.codes:
            first, *others = code.split(" ")
            if others and NOT_RUN in self.text and first in PROGRAMS_OF_A_MAC:
                continue
            if re.match(r"\.{0,2}/?[a-z][\w./-]*$", first) and (others or first.startswith(("./", ".ci/", "tools/"))):
                yield code

    def unrun_lines(self):
        return [line for before, lines in self.blocks if NOT_RUN in before for line in lines]

    def anchors(self):
        titles = re.findall(r"^#+ (.*)$", self.prose, re.MULTILINE)
        return {re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-") for title in titles}


# What can be wrong

def complaints_of_command(command):
    """Why `command` is run by nothing, or cannot work."""
    words = command.split(" ")
    runners = [runner for pattern, runner in RUN_ELSEWHERE.items() if re.fullmatch(pattern, command)]
    asked_for_help = len(words) == 1 and command.startswith("tools/")     # below
    if not runners and not asked_for_help and command not in RUN_HERE:
        yield f"nothing runs `{command}`: see the table in {Path(__file__).name}"
    for place, literal in runners:
        if literal not in content(place):
            yield f"{place} does not run `{command}` any more"
    yield from complaints_of_arguments(words)


def complaints_of_arguments(words):
    program = words[0].removeprefix("./")
    ours = program in OURS or program.startswith("tools/")
    if ours and not is_program(program):
        yield f"there is no program {program}"
        return
    kinds = {"cmake": ["configurePresets"], "ctest": ["testPresets"]}.get(program, ["configurePresets", "testPresets"])
    if "--build" in words:
        kinds = ["buildPresets"]
    for word, following in zip(words, words[1:] + [""]):
        # As a `case` of a shell script, or an argument of argparse.
        if ours and word.startswith("--") and not re.search(re.escape(word) + r'(\)| \||")', content(program)):
            yield f"{program} knows no {word}"
        if word == "--preset" and not all(following in presets(kind) for kind in kinds):
            yield f"there is no preset {following}"
        if word == "-R" and not any(re.search(following, test) for test in tests()):
            yield f"no test is called {following}"
        if re.match(rf"({'|'.join(map(re.escape, FOLDERS))})/", word) and not (PROJECT / word).exists():
            yield f"there is no {word}"


def complaints_of_name(code):
    """Why `code`, which is no command, names nothing that exists."""
    if code.split("/")[0] in FOLDERS and not re.search(r"[<…]", code):
        if not any(PROJECT.glob(code.rstrip("/"))):
            yield f"there is no {code}"
    elif code.startswith("build/"):
        if not code.startswith(tuple(f"build/{preset}" for preset in presets("configurePresets"))) and not any(
                code in content(script) for script in (".ci/run", "run", "tools/fuzz")):
            yield f"nothing makes {code}"
    elif re.fullmatch(r"\w+(Test|Fuzz)(-[\w-]+)?", code):
        if not any(re.fullmatch(f"{code}(-.*)?", test) for test in tests()):
            yield f"there is no test {code}"
    elif "/" not in code:
        for word in re.findall(r"\b(?:[A-Z]\w*[a-z]\w*[A-Z]\w*|[a-z]+[A-Z]\w*)\b", code):
            if word not in words_of_the_source():
                yield f"nothing is called {word}"


def complaints_of_link(document, target):
    path, _, anchor = target.partition("#")
    if re.match(r"[a-z]+:", path):
        return
    file = document.folder / path
    if path and not file.exists():
        yield f"there is no {target}"
    elif anchor:
        other = document if not path else Document(path, file.read_text("utf-8"))
        if anchor not in other.anchors():
            yield f"there is no heading {target}"


def complaints(document):
    found = []
    commands = list(document.commands())
    for command in commands:
        found += complaints_of_command(command)
    for line in document.unrun_lines():
        found += complaints_of_arguments(line.split(" "))
    for code in document.codes:
        if code not in commands:
            found += complaints_of_name(code)
    for target in re.findall(r"\]\(([^)\s]+)\)", document.text):
        found += complaints_of_link(document, target)
    return found


DOCUMENTS = [Document(str(file.relative_to(PROJECT)), file.read_text("utf-8"))
             for file in sorted([*PROJECT.glob("*.md"), *PROJECT.glob("docs/*.md")])]


class Documents(unittest.TestCase):
    def test_every_command_is_run_and_every_name_is_one_of_something(self):
        for document in DOCUMENTS:
            with self.subTest(document.path):
                self.assertEqual(complaints(document), [])

    def test_what_is_run_here_works(self):
        for command, found_in in RUN_HERE.items():
            run = subprocess.run(["sh", "-c", command], cwd=PROJECT, capture_output=True, text=True)
            self.assertEqual(run.returncode, 0, command)
            self.assertEqual({line.split("/")[0] for line in run.stdout.splitlines()}, found_in)

    def test_every_tool_says_how_it_is_used_and_does_nothing_else(self):
        for tool in [*SCRIPTS, *tools()]:
            with self.subTest(tool):
                run = subprocess.run([PROJECT / tool, "--help"], stdin=subprocess.DEVNULL, capture_output=True,
                                     text=True, timeout=20)
                self.assertEqual((run.returncode, run.stderr), (0, ""))
                self.assertGreater(len(run.stdout), 40)

    def test_every_tool_that_is_for_people_is_in_a_document(self):
        # Those that only other tools use.
        inner = {"tools/count-tests", "tools/install-packages", "tools/test-programs"}
        named = {code for document in DOCUMENTS for _, lines in document.blocks for code in lines}
        named |= {code for document in DOCUMENTS for code in document.codes}
        self.assertEqual(set(tools()) - inner - named, set())

    def test_every_picture_is_shown_and_can_be_redrawn(self):
        pictures = {file.stem for file in (PROJECT / "docs/pictures").iterdir()}
        drawn = re.findall(r'\{ u"(.+?)"_s, u".+?"_s, u".+?"_s \}', content("tests/app/render-states.cpp"))
        self.assertEqual(set(drawn), pictures)
        self.assertEqual(set(re.findall(r"\(docs/pictures/(.+?)\.png\)", content("README.md"))), pictures)

    def test_every_runner_in_the_table_is_needed(self):
        commands = {command for document in DOCUMENTS for command in document.commands()}
        for pattern in RUN_ELSEWHERE:
            self.assertTrue(any(re.fullmatch(pattern, command) for command in commands), pattern)
        self.assertLessEqual(set(RUN_HERE), commands)

    def test_where_commands_are_run_is_itself_run(self):
        for place, _ in RUN_ELSEWHERE.values():
            runs = place.startswith((".github/", "tests/")) or place == ".ci/run" or place in content(".ci/run")
            self.assertTrue(runs, place)

    def test_every_written_file_has_its_line(self):
        """docs/on-disk.md names what the source puts into the launcher's folder."""
        described = content("docs/on-disk.md")
        place = r"(?:scratch\w*|folder|bin|project|root\(\)|gameFolder\(\)|m_destination|destination)"
        name_in_it = re.compile(place + r'(?:\.filePath\(| ?\+ ?|\()\s*(?:QStringLiteral\(|u)"/?([.\w-]+)"')
        for room in ("storage", "download", "engine"):
            for file in (PROJECT / "src" / room).glob("*.cpp"):
                for name in name_in_it.findall(file.read_text("utf-8")):
                    self.assertIn(name, described, file.name)


class Guards(unittest.TestCase):
    """Every kind of mistake is found, and reported as what it is."""

    def finds(self, text, *found):
        self.assertEqual(complaints(Document("docs/new.md", text)), list(found))

    def test_an_unknown_command(self):
        for text in ("Type:\n\n    make install\n\nDone.\n", "Type:\n\n```sh\nmake install\n```\n",
                     "Type `make install`.\n"):
            self.finds(text, "nothing runs `make install`: see the table in test_documents.py")
        self.finds("Type `./run\n--fast`.\n", "nothing runs `./run --fast`: see the table in test_documents.py",
                   "run knows no --fast")

    def test_a_command_that_is_not_run_any_more(self):
        RUN_ELSEWHERE["true"] = (".ci/run", "no such words")
        self.addCleanup(RUN_ELSEWHERE.pop, "true")
        self.finds("Type:\n\n    true\n", ".ci/run does not run `true` any more")

    def test_a_tool_a_preset_a_test_or_a_file_that_is_not_there(self):
        self.finds("See `tools/nothing`.\n", "there is no program tools/nothing")
        self.finds("    \n\n    ./test --preset nothing -R LineSplitter\n", "there is no preset nothing")
        self.finds("Type `./test -R NothingTest`.\n", "no test is called NothingTest")
        self.finds("It is `NothingTest`.\n", "there is no test NothingTest")
        self.finds("See `src/nothing/Nothing.cpp`.\n", "there is no src/nothing/Nothing.cpp")
        self.finds("It is in `build/nothing`.\n", "nothing makes build/nothing")
        self.finds("It is `AppModel::noSuchThing`.\n", "nothing is called noSuchThing")

    def test_a_link_that_leads_nowhere(self):
        self.finds("See [it](nothing.md).\n", "there is no nothing.md")
        self.finds("See [it](coding.md#nothing).\n", "there is no heading coding.md#nothing")
        self.finds("See [it](#nothing).\n", "there is no heading #nothing")
        self.finds("See [it](coding.md#everything-else).\n")

    def test_only_the_paragraph_right_before_a_block_excuses_it(self):
        block = "    codesign --sign data/macos/entitlements.plist\n"
        self.finds(f"{NOT_RUN} On a Mac:\n\n{block}")
        self.finds(f"{NOT_RUN} On a Mac.\n\nNow:\n\n{block}",
                   "nothing runs `codesign --sign data/macos/entitlements.plist`: see the table in test_documents.py")
        # Not even such a block names what is not there.
        self.finds(f"{NOT_RUN}\n\n    codesign data/macos/nothing.plist\n", "there is no data/macos/nothing.plist")


if __name__ == "__main__":
    unittest.main()
