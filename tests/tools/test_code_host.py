"""The stand-in for the code-hosting service, tested over real connections."""

import contextlib
import hashlib
import http.client
import io
import os
import platform
import re
import signal
import stat
import subprocess
import sys
import tempfile
import time
import unittest
import zipfile
from pathlib import Path

CODE_HOST = Path(__file__).resolve().parents[2] / "tools" / "code-host"
ARCHIVE = "/Kestrelwood/Vantor/archive/refs/heads/master.zip"
MACHINE = "arm64" if platform.machine() in ("aarch64", "arm64") else "x86_64"


def release(version, name):
    return f"/godotengine/godot-builds/releases/download/{version}-stable/{name}"


class CodeHostCase(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.game = self.folder / "game"
        self.game.mkdir()
        (self.game / "project.godot").write_text("config_version=5\n")
        self.engine = self.folder / "it's an engine"
        self.engine.write_text('#!/bin/sh\necho "engine got $*"\n')
        self.engine.chmod(0o755)
        self.port = None

    if not hasattr(unittest.TestCase, "enterContext"):      # Python 3.10 and older
        def enterContext(self, context):
            value = context.__enter__()
            self.addCleanup(context.__exit__, None, None, None)
            return value

    def start(self, *options, **how):
        host = subprocess.Popen([sys.executable, CODE_HOST, "--game", self.game, "--engine", self.engine, *options],
                                stdout=subprocess.PIPE, text=True, **how)
        self.addCleanup(self.end, host)
        line = host.stdout.readline()
        self.port = int(re.fullmatch(r"Serving on http://127\.0\.0\.1:(\d+)\n", line)[1])
        return host

    @staticmethod
    def end(host):
        host.terminate()
        host.wait(10)
        for stream in (host.stdin, host.stdout, host.stderr):
            if stream:
                stream.close()

    def ask(self, path, method="GET", **headers):
        """The response and its body, as much of it as arrives. Starts the host if the test has not."""
        if not self.port:
            self.start()
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        with contextlib.closing(connection):
            connection.request(method, path, headers={name.replace("_", "-"): value for name, value in headers.items()})
            response = connection.getresponse()
            try:
                return response, response.read()
            except http.client.IncompleteRead as cut:
                return response, cut.partial

    def fetch(self, path):
        """The body of the response for `path`, following one redirect."""
        response, body = self.ask(path)
        if response.status == 302:
            response, body = self.ask(response.getheader("Location"))
        self.assertEqual(response.status, 200, path)
        return body

    def archive(self, path):
        return zipfile.ZipFile(io.BytesIO(self.fetch(path)))


class GameArchive(CodeHostCase):
    def test_everything_is_inside_the_wrapper_folder(self):
        (self.game / "levels").mkdir()
        (self.game / "levels" / "one.tscn").write_text("[gd_scene]")
        names = self.archive(ARCHIVE).namelist()
        self.assertEqual(names, ["Vantor-master/", "Vantor-master/levels/", "Vantor-master/project.godot",
                                 "Vantor-master/levels/one.tscn"])

    def test_it_is_sent_in_pieces_without_a_length(self):
        response, body = self.ask(ARCHIVE)
        self.assertIsNone(response.getheader("Content-Length"))
        self.assertEqual(response.getheader("Transfer-Encoding"), "chunked")
        self.assertIsNone(zipfile.ZipFile(io.BytesIO(body)).testzip())

    def test_head_says_the_same_and_sends_nothing(self):
        response, body = self.ask(ARCHIVE, "HEAD")
        self.assertEqual((response.status, body), (200, b""))
        self.assertIsNone(response.getheader("Content-Length"))

    def test_files_are_deflated(self):
        self.assertEqual(self.archive(ARCHIVE).getinfo("Vantor-master/project.godot").compress_type,
                         zipfile.ZIP_DEFLATED)

    def test_a_changed_game_is_served_at_the_next_request(self):
        self.fetch(ARCHIVE)
        (self.game / "project.godot").write_text("config_version=4\n")
        self.assertEqual(self.archive(ARCHIVE).read("Vantor-master/project.godot"), b"config_version=4\n")

    def test_what_the_engine_and_git_leave_is_not_inside(self):
        for name in (".git", ".godot", ".import"):
            (self.game / name).mkdir()
            (self.game / name / "inside").write_text("")
        (self.game / "icon.png.import").write_text("")
        (self.game / "icon.png").write_text("")
        self.assertEqual(self.archive(ARCHIVE).namelist(),
                         ["Vantor-master/", "Vantor-master/icon.png", "Vantor-master/project.godot"])

    def test_links_stay_links_and_programs_stay_programs(self):
        (self.game / "outside").symlink_to("/etc")
        (self.game / "tool").write_text("#!/bin/sh\n")
        (self.game / "tool").chmod(0o755)
        archive = self.archive(ARCHIVE)
        link = archive.getinfo("Vantor-master/outside")
        self.assertTrue(stat.S_ISLNK(link.external_attr >> 16))
        self.assertEqual(archive.read(link), b"/etc")
        self.assertTrue(archive.getinfo("Vantor-master/tool").external_attr >> 16 & 0o100)


class ReleaseFiles(CodeHostCase):
    # The path of the program in the archive with this version and ending.
    LAYOUTS = {
        "x86_64": {
            ("4.6", "_linux.x86_64.zip"): "Godot_v4.6-stable_linux.x86_64",
            ("4.7.2", "_mono_linux_x86_64.zip"):
                "Godot_v4.7.2-stable_mono_linux_x86_64/Godot_v4.7.2-stable_mono_linux.x86_64",
            ("3.6.3", "_x11.64.zip"): "Godot_v3.6.3-stable_x11.64",
            ("3.6.3", "_mono_x11_64.zip"): "Godot_v3.6.3-stable_mono_x11_64/Godot_v3.6.3-stable_mono_x11.64"},
        "arm64": {
            ("4.6", "_linux.arm64.zip"): "Godot_v4.6-stable_linux.arm64",
            ("4.7.2", "_mono_linux_arm64.zip"):
                "Godot_v4.7.2-stable_mono_linux_arm64/Godot_v4.7.2-stable_mono_linux.arm64",
            ("3.6.3", "_linux.arm64.zip"): "Godot_v3.6.3-stable_linux.arm64"}}[MACHINE] | {
        (version, f"{mono}_{system}.universal.zip"): f"Godot{mono}.app/Contents/MacOS/Godot"
        for version, system in (("4.6", "macos"), ("3.6.3", "osx")) for mono in ("", "_mono")}

    def test_every_official_name_holds_the_program_where_it_belongs(self):
        for (version, ending), program in self.LAYOUTS.items():
            with self.subTest(version=version, ending=ending):
                archive = self.archive(release(version, f"Godot_v{version}-stable{ending}"))
                self.assertIn(program, archive.namelist())
                self.assertEqual(archive.getinfo(program).external_attr >> 16, stat.S_IFREG | 0o755)
                programs = [name for name in archive.namelist() if name.split("/")[-1].startswith("Godot")
                            and not name.endswith("/")]
                self.assertEqual(programs, [program])

    def test_net_builds_have_their_assemblies_folder_beside_the_program(self):
        if MACHINE == "arm64":
            self.skipTest("the name differs on this processor")
        stem = "Godot_v4.6-stable_mono_linux_x86_64"
        self.assertIn(f"{stem}/GodotSharp/README", self.archive(release("4.6", stem + ".zip")).namelist())

    def test_a_script_is_served_as_a_program_that_starts_it(self):
        name = "Godot_v4.6-stable_macos.universal.zip"
        program = self.folder / "unpacked"
        program.write_bytes(self.archive(release("4.6", name)).read("Godot.app/Contents/MacOS/Godot"))
        program.chmod(0o755)
        said = subprocess.run([program, "--path", "a b"], capture_output=True, text=True, check=True).stdout
        self.assertEqual(said, "engine got --path a b\n")

    def test_a_compiled_program_is_served_itself(self):
        self.engine = Path("/bin/ls").resolve()
        ending = {"darwin": "_macos.universal.zip"}.get(sys.platform, f"_linux.{MACHINE}.zip")
        archive = self.archive(release("4.6", "Godot_v4.6-stable" + ending))
        self.assertIn(self.engine.read_bytes(), [archive.read(name) for name in archive.namelist()])

    def test_a_release_file_is_redirected_once_and_has_a_length(self):
        for name in ("Godot_v4.6-stable_macos.universal.zip", "SHA512-SUMS.txt"):
            with self.subTest(name):
                first, body = self.ask(release("4.6", name))
                self.assertEqual((first.status, body), (302, b""))
                second, body = self.ask(first.getheader("Location"))
                self.assertEqual((second.status, second.getheader("Content-Length")), (200, str(len(body))))

    def test_the_sums_are_those_of_what_is_served(self):
        lines = self.fetch(release("4.6", "SHA512-SUMS.txt")).decode().splitlines()
        sums = dict(reversed(line.split("  ")) for line in lines)
        checked = [f"Godot_v4.6-stable{ending}" for version, ending in self.LAYOUTS if version == "4.6"]
        self.assertEqual(len(checked), 3)
        for name in checked:
            self.assertEqual(sums[name], hashlib.sha512(self.fetch(release("4.6", name))).hexdigest(), name)

    def test_the_sums_have_the_official_form(self):
        text = self.fetch(release("3.6.3", "SHA512-SUMS.txt")).decode()
        self.assertTrue(text.endswith("\n") and "\r" not in text)
        for line in text.splitlines():
            self.assertRegex(line, r"\A[0-9a-f]{128}  [Gg]odot[^ /]+\Z")
        for other in (".tar.xz", ".apk", ".tpz", ".aar"):
            self.assertIn(other + "\n", text)
        names = [line.split("  ")[1] for line in text.splitlines()]
        self.assertEqual(len(names), len(set(names)))
        self.assertLess(max(i for i, name in enumerate(names) if "_mono_" not in name),
                        min(i for i, name in enumerate(names) if "_mono_" in name))

    def test_an_archive_is_the_same_each_time(self):
        path = release("4.6", "Godot_v4.6-stable_macos.universal.zip")
        self.assertEqual(self.fetch(path), self.fetch(path))

    def test_names_that_no_release_has_are_not_found(self):
        for version, name in (("4.4.0", "Godot_v4.4.0-stable_macos.universal.zip"),
                              ("4.6", "Godot_v4.5-stable_macos.universal.zip"),
                              ("4.6", "Godot_v4.6-stable_osx.universal.zip"),
                              ("3.6.3", "Godot_v3.6.3-stable_macos.universal.zip"),
                              ("latest", "SHA512-SUMS.txt"), ("4.6", "win64.zip")):
            with self.subTest(version=version, name=name):
                self.assertEqual(self.ask(release(version, name))[0].status, 404)

    def test_a_chosen_version_is_the_only_one(self):
        self.start("--engine-version", "4.6")
        self.fetch(release("4.6", "SHA512-SUMS.txt"))
        self.assertEqual(self.ask(release("4.5", "SHA512-SUMS.txt"))[0].status, 404)


class Ranges(CodeHostCase):
    FILE = "/stored-release-files/4.6-stable/Godot_v4.6-stable_macos.universal.zip"

    def setUp(self):
        super().setUp()
        self.engine.write_bytes(os.urandom(500))

    def whole(self):
        response, body = self.ask(self.FILE)
        self.assertEqual(response.status, 200)
        self.assertRegex(response.getheader("ETag"), r'\A"[0-9a-f]+"\Z')
        return response.getheader("ETag"), body

    def test_a_part_is_sent_to_who_has_the_right_tag(self):
        tag, whole = self.whole()
        for condition in ({}, {"If_Range": tag}):
            response, body = self.ask(self.FILE, Range="bytes=100-", **condition)
            self.assertEqual((response.status, body), (206, whole[100:]))
            self.assertEqual(response.getheader("Content-Range"), f"bytes 100-{len(whole) - 1}/{len(whole)}")
            self.assertEqual(response.getheader("ETag"), tag)
        response, body = self.ask(self.FILE, Range="bytes=100-199")
        self.assertEqual((response.status, body), (206, whole[100:200]))

    def test_the_whole_is_sent_to_who_has_another_tag(self):
        tag, whole = self.whole()
        for other in ('"other"', "W/" + tag):
            response, body = self.ask(self.FILE, Range="bytes=100-", If_Range=other)
            self.assertEqual((response.status, body), (200, whole))
            self.assertIsNone(response.getheader("Content-Range"))

    def test_a_part_beyond_the_end_is_refused(self):
        size = len(self.whole()[1])
        response, _ = self.ask(self.FILE, Range=f"bytes={size}-")
        self.assertEqual((response.status, response.getheader("Content-Range")), (416, f"bytes */{size}"))

    def test_the_game_has_neither_tag_nor_ranges(self):
        response, body = self.ask(ARCHIVE, Range="bytes=10-")
        self.assertEqual(response.status, 200)
        self.assertIsNone(response.getheader("ETag"))
        self.assertIsNone(zipfile.ZipFile(io.BytesIO(body)).testzip())

    def test_a_range_can_be_answered_in_every_wrong_way(self):
        tag, whole = self.whole()
        length = len(whole)
        right = (206, tag, f"bytes 100-{length - 1}/{length}", whole[100:])
        for answer, expected in {"new-tag": (200, '"new"', None, whole),
                                 "other-tag": (right[0], '"other"', *right[2:]),
                                 "other-length": (*right[:2], f"bytes 100-{length - 1}/{length + 1}", right[3]),
                                 "other-place": (*right[:2], f"bytes 101-{length - 1}/{length}", whole[101:]),
                                 "whole": (200, tag, None, whole)}.items():
            with self.subTest(answer):
                self.start("--answer-ranges-with", answer)
                self.assertEqual(self.whole(), (tag, whole))
                response, body = self.ask(self.FILE, Range="bytes=100-", If_Range=tag)
                self.assertEqual((response.status, response.getheader("ETag"), response.getheader("Content-Range"), body),
                                 expected)
        for answer, status, later in (("416", 416, None), ("503", 503, None), ("503-retry-after", 503, "1")):
            with self.subTest(answer):
                self.start("--answer-ranges-with", answer)
                response, _ = self.ask(self.FILE, Range="bytes=100-", If_Range=tag)
                self.assertEqual((response.status, response.getheader("Retry-After")), (status, later))

    def test_archives_are_cut_where_it_was_asked_for_and_the_list_is_not(self):
        self.start("--cut", "100,300")
        self.fetch(release("4.6", "SHA512-SUMS.txt"))
        self.assertEqual(len(self.ask(self.FILE)[1]), 100)
        self.assertEqual(len(self.ask(self.FILE, Range="bytes=100-")[1]), 200)
        tag, whole = self.whole()
        self.assertGreater(len(whole), 500)

    def test_places_that_were_passed_are_left_out(self):
        self.start("--cut", "100,300,400")
        self.assertEqual(len(self.ask(self.FILE, Range="bytes=300-")[1]), 100)

    def test_every_archive_can_be_cut(self):
        self.start("--cut-every", "100")
        for first in (0, 100, 200):
            self.assertEqual(len(self.ask(self.FILE, Range=f"bytes={first}-")[1]), 100)
        self.assertEqual(len(self.ask(ARCHIVE)[1]), 100)

    def test_a_stall_leaves_the_connection_open(self):
        self.start("--cut", "100", "--stall")
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=0.5)
        with contextlib.closing(connection):
            connection.request("GET", self.FILE)
            response = connection.getresponse()
            self.assertEqual(len(response.read(100)), 100)
            with self.assertRaises(TimeoutError):
                response.read(1)

    def test_an_address_can_be_made_to_expire(self):
        self.start("--one-time-addresses")
        location = self.ask(release("4.6", "SHA512-SUMS.txt"))[0].getheader("Location")
        self.assertEqual([self.ask(location)[0].status for _ in range(2)], [200, 403])
        self.fetch(release("4.6", "SHA512-SUMS.txt"))


class TheProgram(CodeHostCase):
    def test_the_repository_has_a_page(self):
        response, body = self.ask("/Kestrelwood/Vantor")
        self.assertIn("text/html", response.getheader("Content-Type"))
        self.assertIn(b"Vantor", body)

    def test_anything_else_is_not_found(self):
        for path in ("/", "/Kestrelwood", "/Kestrelwood/Vantor/archive/refs/heads/main.zip", "/../etc/passwd"):
            self.assertEqual(self.ask(path)[0].status, 404, path)

    def test_slow_is_as_slow_as_it_was_asked_to_be(self):
        (self.game / "noise").write_bytes(os.urandom(20_000))
        self.start("--slow", "20000")
        begin = time.monotonic()
        self.fetch(ARCHIVE)
        self.assertGreater(time.monotonic() - begin, 0.9)

    def test_a_client_that_leaves_does_no_harm(self):
        (self.game / "noise").write_bytes(os.urandom(4_000_000))
        host = self.start(stderr=subprocess.PIPE)
        connection = http.client.HTTPConnection("127.0.0.1", self.port)
        connection.request("GET", ARCHIVE)
        connection.getresponse().read(10)
        connection.close()
        self.fetch(ARCHIVE)
        host.terminate()
        self.assertEqual(host.stderr.read(), "")

    def test_it_ends_when_asked_to(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            host = self.start()
            host.send_signal(number)
            self.assertEqual(host.wait(10), 0)

    def test_it_ends_with_the_one_who_started_it(self):
        host = self.start("--until-stdin-closes", stdin=subprocess.PIPE)
        self.fetch("/Kestrelwood/Vantor")
        host.stdin.close()
        self.assertEqual(host.wait(10), 0)

    def test_what_it_cannot_serve_is_refused_at_once(self):
        for game, engine in ((self.folder / "none", self.engine), (self.game, self.folder / "none"),
                             (self.game, self.game / "project.godot")):
            run = subprocess.run([sys.executable, CODE_HOST, "--game", game, "--engine", engine],
                                 capture_output=True, text=True, timeout=20)
            self.assertEqual((run.returncode, run.stdout), (2, ""))
            self.assertIn("code-host: error: ", run.stderr)


if __name__ == "__main__":
    unittest.main()
