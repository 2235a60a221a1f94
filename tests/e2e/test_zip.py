"""Zip.exe and Unzip.exe against the zip and unzip of other systems, and against archives that mean harm."""
import io
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest
import zipfile

import support
from support import files_below, run, windows

LONG_NAME = "packet " + "n" * 180 + ".mdb"
NEWEST = 1_700_000_001  # odd: the format's own times are even


def tool(*arguments, **options):
    """A program of this machine, which must succeed."""
    # The archives' own times are local.
    environment = dict(os.environ, LC_ALL="C.UTF-8", TZ="UTC")
    return subprocess.run([str(argument) for argument in arguments], check=True, capture_output=True,
                          env=environment, **options).stdout.decode()


class ZipTest(unittest.TestCase):
    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="zip-e2e-"))
        self.addCleanup(shutil.rmtree, self.scratch, ignore_errors=True)
        self.source = self.scratch / "source"
        self.target = self.scratch / "target"
        self.source.mkdir()
        self.archive = self.scratch / "work file.mdb.afz"

    def put(self, name, content, time=NEWEST):
        path = self.source / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        os.utime(path, (time, time))
        return path

    def zip(self, *arguments, **options):
        return run(*arguments, program=support.BIN / "Zip.exe", **options)

    def unzip(self, *arguments, **options):
        return run(*arguments, program=support.BIN / "Unzip.exe", **options)

    def extract(self, switches="-oj", **options):
        return self.unzip(switches, windows(self.archive), "-d", windows(self.target), **options)

    def assert_done(self, outcome):
        self.assertEqual(outcome.code, 0, outcome)

    def assert_failed(self, outcome, *parts, code=1):
        self.assertEqual(outcome.code, code, outcome)
        for part in parts:
            self.assertIn(part, outcome.errors)


class ZipWritesTest(ZipTest):
    def test_other_programs_read_the_archives(self):
        contents = {"Größe Ω 漢字.mdb": b"text " * 50_000, "noise.bin": os.urandom(300_000), "empty.xml": b"",
                    "-9.mdb": b"looks like an option", LONG_NAME: b"long"}
        paths = [self.put(name, content, NEWEST - number) for number, (name, content) in enumerate(contents.items())]
        for level in ([], ["-0"], ["-1"], ["-9"]):
            self.assert_done(self.zip(*level, "-jo", windows(self.archive), *map(windows, paths)))
            tool("unzip", "-t", self.archive)
            listing = tool("zipinfo", "-T", self.archive)
            for number, name in enumerate(contents):
                self.assertIn(f"20231114.2213{21 - number:02} {name}\n", listing)
            tool("unzip", "-qo", self.archive, "-d", self.target)
            self.assertEqual(files_below(self.target), files_below(self.source))
            self.assertEqual(os.stat(self.target / "Größe Ω 漢字.mdb").st_mtime, NEWEST)
            self.assertEqual(os.stat(self.archive).st_mtime, NEWEST)
        self.assertEqual([file.name for file in self.scratch.glob("work*")], [self.archive.name])

    def test_names_that_begin_with_a_hyphen_and_paths_that_are_kept(self):
        self.put("-9.mdb", b"1")
        self.put("sub/b.mdb", b"2")
        self.assert_done(self.zip("--", "-x.afz", "-9.mdb", "sub\\b.mdb", cwd=self.source))
        self.assertEqual(tool("zipinfo", "-1", self.source / "-x.afz").split(), ["-9.mdb", "sub/b.mdb"])

    def test_long_paths(self):
        deep = self.scratch / "/".join(["a rather long folder name " + "x" * 90] * 3)
        deep.mkdir(parents=True)
        (deep / LONG_NAME).write_bytes(b"deep")
        archive = deep / (LONG_NAME + ".afz")
        self.assert_done(self.zip("-jo", windows(archive), windows(deep / LONG_NAME)))
        self.assert_done(self.unzip("-oj", windows(archive), "-d", windows(deep / "new" / "folder")))
        self.assertEqual((deep / "new" / "folder" / LONG_NAME).read_bytes(), b"deep")

    def test_a_failure_leaves_the_old_archive(self):
        path = self.put("a.mdb", b"a")
        self.assert_done(self.zip("-jo", windows(self.archive), windows(path)))
        before = self.archive.read_bytes()
        missing = windows(self.source / "missing.mdb")
        self.assert_failed(self.zip("-jo", windows(self.archive), windows(path), missing), "Zip: ", missing)
        self.assert_failed(self.zip("-jo", windows(self.archive), windows(self.source)), windows(self.source))
        self.assert_failed(self.zip("-jo", windows(self.archive), windows(path), windows(path)), "a.mdb", code=2)
        holder = support.Holder(self, path, "as a writer")
        self.assert_failed(self.zip("-jo", windows(self.archive), windows(path)), "in use by another program")
        holder.release()
        for wrong in ([], ["-x"], ["-jo", windows(self.archive)]):
            self.assert_failed(self.zip(*wrong), "--help", code=2)
        self.assertEqual(self.archive.read_bytes(), before)
        self.assertEqual(len(list(self.scratch.iterdir())), 2)

    def test_a_program_that_is_ended_leaves_nothing(self):
        path = self.put("large.mdb", b"")
        os.truncate(path, 2 << 30)
        process = support.start("-9", "-jo", windows(self.archive), windows(path), program=support.BIN / "Zip.exe")
        unfinished = self.archive.with_name(self.archive.name + ".unfinished")
        # Content: a file that has just been made would stay.
        support.wait_until(lambda: unfinished.exists() and unfinished.stat().st_size > 0)
        process.kill()
        support.finish(process)
        support.wait_until(lambda: not unfinished.exists())
        self.assertFalse(self.archive.exists())

    def test_members_over_4_gb(self):
        path = self.put("large.mdb", b"")
        os.truncate(path, (4 << 30) + 100_000_000)
        self.assert_done(self.zip("-1", "-jo", windows(self.archive), windows(path), windows(self.put("b", b"b")),
                                  timeout=600))
        self.assertIn(str((4 << 30) + 100_000_000), tool("zipinfo", self.archive))
        tool("unzip", "-t", self.archive)


class UnzipReadsTest(ZipTest):
    def fill(self):
        self.put("text.mdb", b"text " * 50_000)
        self.put("sub/noise.mdb", os.urandom(200_000))
        self.put("sub/sub/Größe Ω.xml", b"<x/>")
        self.put("empty.xml", b"")

    def by_bare_name(self):
        return {pathlib.PurePath(name).name: digest for name, digest in files_below(self.source).items()}

    def test_archives_of_other_programs(self):
        self.fill()
        for switches in (["-r"], ["-r0"], ["-r9"], ["-rfd"], ["-rfz"], ["-r", "-DX"]):
            with self.subTest(switches):
                self.archive.unlink(missing_ok=True)
                with self.archive.open("wb") as out:
                    subprocess.run(["zip", "-q", *switches, "-", "."], cwd=self.source, check=True, stdout=out,
                                   env=dict(os.environ, LC_ALL="C.UTF-8"))
                for junk, expected in (("-oj", self.by_bare_name()), ("-o", files_below(self.source))):
                    shutil.rmtree(self.target, ignore_errors=True)
                    self.assert_done(self.extract(junk))
                    self.assertEqual(files_below(self.target), expected)
                if "X" not in "".join(switches):
                    self.assertEqual(os.stat(self.target / "text.mdb").st_mtime, NEWEST)

    def test_data_that_was_streamed_into_the_archive(self):
        with self.archive.open("wb") as out:
            subprocess.run(["zip", "-q", "-", "-"], input=b"streamed " * 9_000, check=True, stdout=out)
        self.assert_done(self.extract())
        self.assertEqual((self.target / "-").read_bytes(), b"streamed " * 9_000)

    def test_existing_files_are_replaced_only_when_asked(self):
        path = self.put("a.mdb", b"new")
        self.assert_done(self.zip("-jo", windows(self.archive), windows(path)))
        self.target.mkdir()
        (self.target / "a.mdb").write_bytes(b"old")
        self.assert_failed(self.extract("-j"), "a.mdb exists already")
        self.assertEqual((self.target / "a.mdb").read_bytes(), b"old")
        self.assert_done(self.extract())
        self.assertEqual((self.target / "a.mdb").read_bytes(), b"new")

    def test_folders_that_are_missing(self):
        self.assert_done(self.zip("-jo", windows(self.archive), windows(self.put("a.mdb", b"a"))))
        self.assert_done(self.unzip("-oj", windows(self.archive), "-d", windows(self.target / "new") + "\\"))
        self.assertEqual((self.target / "new" / "a.mdb").read_bytes(), b"a")
        for folder in ("Q:\\", "Q:\\new\\folder"):
            self.assert_failed(self.unzip("-oj", windows(self.archive), "-d", folder), "cannot create Q:\\",
                               "check the name")


class MaliciousArchiveTest(ZipTest):
    def write(self, *names, change=lambda data: data):
        content = io.BytesIO()
        with zipfile.ZipFile(content, "w") as archive:
            for name in names:
                archive.writestr(name if isinstance(name, zipfile.ZipInfo) else zipfile.ZipInfo(name), b"0" * 5000,
                                 zipfile.ZIP_DEFLATED)
        self.archive.write_bytes(change(content.getvalue()))

    def assert_refused(self, *parts, switches="-o"):
        self.assert_failed(self.extract(switches), windows(self.archive), *parts)
        self.assertEqual(files_below(self.target), {})

    def test_a_name_that_leads_out_of_the_folder(self):
        self.write("good.mdb", "../up.mdb")
        self.assert_refused("../up.mdb leads out")
        self.assertEqual(sorted(file.name for file in self.scratch.iterdir()), ["source", self.archive.name])

    def test_what_cannot_be_extracted(self):
        link = zipfile.ZipInfo("link.mdb")
        link.external_attr = 0o120777 << 16
        link.create_system = 3
        self.write("good.mdb", link)
        self.assert_refused("link.mdb is a link")
        self.write("a/x.mdb", "b/X.MDB")
        self.assert_refused("same name", switches="-oj")
        password = self.put("a.mdb", b"secret")
        self.archive.unlink()
        tool("zip", "-qjP", "password", self.archive.with_suffix(".zip"), password)
        self.archive.with_suffix(".zip").rename(self.archive)
        self.assert_refused("a.mdb is encrypted")

    def test_a_member_longer_than_announced(self):
        announced, less = (5000).to_bytes(4, "little"), (4000).to_bytes(4, "little")
        self.write("bomb.mdb", change=lambda data: data.replace(announced, less))
        self.assert_refused("longer than the archive announces")
