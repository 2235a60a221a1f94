"""Zip.exe and Unzip.exe against the zip and unzip of other systems, and against archives that mean harm."""
import io
import os
import pathlib
import re
import shutil
import subprocess
import zipfile

import support
from support import Mount, ScratchTest, files_below, slow, windows

LONG_NAME = "packet " + "n" * 180 + ".mdb"
NEWEST = 1_700_000_001  # odd: the format's own times are even


def tool(*arguments, **options):
    """A program of this machine, which must succeed."""
    # The archives' own times are local.
    environment = dict(os.environ, LC_ALL="C.UTF-8", TZ="UTC")
    return subprocess.run([str(argument) for argument in arguments], check=True, capture_output=True,
                          env=environment, **options).stdout.decode()


class ZipTest(ScratchTest):
    def setUp(self):
        super().setUp()
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

    def zip(self, *arguments, code=0, **options):
        """What Zip.exe says about a failure."""
        return self.assert_ends(code, *arguments, program=support.BIN / "Zip.exe", **options).errors

    def pack(self, *paths, switches=("-jo",), code=0):
        return self.zip(*switches, self.archive, *paths, code=code)

    def unpack(self, switches="-oj", archive=None, target=None, code=0):
        """What Unzip.exe says about a failure."""
        return self.assert_ends(code, switches, archive or self.archive, "-d", target or self.target,
                                program=support.BIN / "Unzip.exe").errors


class ZipWritesTest(ZipTest):
    def test_other_programs_read_the_archives(self):
        contents = {"Größe Ω 漢字.mdb": b"text " * 50_000, "noise.bin": os.urandom(300_000), "empty.xml": b"",
                    "-9.mdb": b"looks like an option", LONG_NAME: b"long"}
        paths = [self.put(name, content, NEWEST - number) for number, (name, content) in enumerate(contents.items())]
        for level in ([], ["-0"], ["-1"], ["-9"]):
            self.pack(*paths, switches=[*level, "-jo"])
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
        self.zip("--", "-x.afz", "-9.mdb", "sub\\b.mdb", cwd=self.source)
        self.assertEqual(tool("zipinfo", "-1", self.source / "-x.afz").split(), ["-9.mdb", "sub/b.mdb"])

    def test_long_paths(self):
        deep = self.scratch / "/".join(["a rather long folder name " + "x" * 90] * 3)
        deep.mkdir(parents=True)
        (deep / LONG_NAME).write_bytes(b"deep")
        archive, target = deep / (LONG_NAME + ".afz"), deep / "new" / "folder"
        self.zip("-jo", archive, deep / LONG_NAME)
        self.unpack(archive=archive, target=target)
        self.assertEqual((target / LONG_NAME).read_bytes(), b"deep")

    def test_a_failure_leaves_the_old_archive(self):
        path, missing = self.put("a.mdb", b"a"), self.source / "missing.mdb"
        self.pack(path)
        before = self.archive.read_bytes()
        self.assertRegex(self.pack(path, missing, code=1), "Zip: .*" + re.escape(windows(missing)))
        self.assertIn(windows(self.source), self.pack(self.source, code=1))
        self.assertIn("a.mdb", self.pack(path, path, code=2))
        holder = support.Holder(self, path, "as a writer")
        self.assertIn("in use by another program", self.pack(path, code=1))
        holder.release()
        for wrong in ([], ["-x"], ["-jo", self.archive]):
            self.assertIn("--help", self.zip(*wrong, code=2))
        self.assertEqual(self.archive.read_bytes(), before)
        self.assertEqual(len(list(self.scratch.iterdir())), 2)

    def test_neither_a_source_nor_another_file_is_replaced(self):
        source, other, empty = self.put("a.mdb", b"a"), self.put("b.mdb", b"b"), self.put("empty", b"")
        alias = source.with_name("alias")
        os.link(source, alias)
        before = files_below(self.source)
        for archive, reason in ((source, "same file"), (windows(source).upper(), "same file"), (alias, "same file"),
                                (other, "no zip archive"), (empty, "no zip archive")):
            self.assertIn(reason, self.zip("-jo", archive, source, code=1))
        self.assertEqual(files_below(self.source), before)

    def test_brackets_in_names(self):
        names = ["[a.mdb]", "[b,c]", "[d"]
        for name in names:
            self.put(name, b"")
        self.zip("[x]", *names, cwd=self.source)
        self.assertEqual(tool("zipinfo", "-1", self.source / "[x]").split(), names)
        self.assertIn("expected: [y]", self.assert_ends(2, "[x]", "[y]", program=support.BIN / "Unzip.exe").errors)

    def put_large(self, size):
        path = self.put("large.mdb", b"")
        os.truncate(path, size)
        return path

    def test_a_program_that_is_ended_leaves_nothing(self):
        process = support.start("-9", "-jo", self.archive, self.put_large(2 << 30), program=support.BIN / "Zip.exe")
        # Content: a file that has just been made would stay.
        support.wait_until(lambda: support.arriving(self.archive.parent) > 0, process)
        process.kill()
        support.finish(process)
        support.wait_until(lambda: support.arriving(self.archive.parent) < 0)
        self.assertFalse(self.archive.exists())

    @slow
    def test_members_over_4_gb(self):
        size = (4 << 30) + 100_000_000
        self.pack(self.put_large(size), self.put("b", b"b"), switches=["-1", "-jo"])
        self.assertIn(str(size), tool("zipinfo", self.archive))
        tool("unzip", "-t", self.archive)


class UnzipReadsTest(ZipTest):
    def test_archives_of_other_programs(self):
        for name, content in (("text.mdb", b"text " * 50_000), ("sub/noise.mdb", os.urandom(200_000)),
                              ("sub/sub/Größe Ω.xml", b"<x/>"), ("empty.xml", b"")):
            self.put(name, content)
        whole = files_below(self.source)
        junked = {pathlib.PurePath(name).name: digest for name, digest in whole.items()}
        for switches in (["-r"], ["-r0"], ["-r9"], ["-rfd"], ["-rfz"], ["-r", "-DX"]):
            with self.subTest(switches):
                with self.archive.open("wb") as out:
                    subprocess.run(["zip", "-q", *switches, "-", "."], cwd=self.source, check=True, stdout=out,
                                   env=dict(os.environ, LC_ALL="C.UTF-8"))
                for junk, expected in (("-oj", junked), ("-o", whole)):
                    shutil.rmtree(self.target, ignore_errors=True)
                    self.unpack(junk)
                    self.assertEqual(files_below(self.target), expected)
                if "X" not in "".join(switches):
                    self.assertEqual(os.stat(self.target / "text.mdb").st_mtime, NEWEST)

    def test_existing_files_are_replaced_only_when_asked(self):
        self.pack(self.put("a.mdb", b"new"))
        self.target.mkdir()
        target = self.target / "a.mdb"
        target.write_bytes(b"old")
        self.assertIn("a.mdb exists already", self.unpack("-j", code=1))
        self.assertEqual(target.read_bytes(), b"old")
        self.unpack()
        self.assertEqual(target.read_bytes(), b"new")

    def test_the_archive_itself_is_not_replaced(self):
        self.pack(self.put(self.archive.name, b"a"))
        before = self.archive.read_bytes()
        self.assertIn("same file", self.unpack(target=self.scratch, code=1))
        self.assertEqual(self.archive.read_bytes(), before)

    def test_folders_that_are_missing(self):
        self.pack(self.put("a.mdb", b"a"))
        self.unpack(target=windows(self.target / "new") + "\\")
        self.assertEqual((self.target / "new" / "a.mdb").read_bytes(), b"a")
        for folder in ("Q:\\", "Q:\\new\\folder"):
            self.assertRegex(self.unpack(target=folder, code=1), r"(?s)cannot create Q:\\.*check the name")
        # As of a variable of a script that was never set.
        self.assertIn("-d: the text is empty", self.assert_ends(2, self.archive, "-d", "", program=support.BIN / "Unzip.exe").errors)


class MaliciousArchiveTest(ZipTest):
    def write(self, *names, change=lambda data: data):
        content = io.BytesIO()
        with zipfile.ZipFile(content, "w") as archive:
            for name in names:
                archive.writestr(name if isinstance(name, zipfile.ZipInfo) else zipfile.ZipInfo(name), b"0" * 5000,
                                 zipfile.ZIP_DEFLATED)
        self.archive.write_bytes(change(content.getvalue()))

    def assert_refused(self, text, switches="-o"):
        errors = self.unpack(switches, code=1)
        self.assertIn(windows(self.archive), errors)
        self.assertIn(text, errors)
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
        encrypted = self.scratch / "encrypted.zip"
        tool("zip", "-qjP", "password", encrypted, self.put("a.mdb", b"secret"))
        encrypted.rename(self.archive)
        self.assert_refused("a.mdb is encrypted")

    def test_more_than_there_is_room_for(self):
        Mount(self, self.target, "1m")
        self.pack(self.put("large.mdb", bytes(2 << 20)))
        self.assert_refused(f" needs {2 << 20} bytes in {windows(self.target)}, where ")

    def test_a_member_longer_than_announced(self):
        announced, less = (5000).to_bytes(4, "little"), (4000).to_bytes(4, "little")
        self.write("bomb.mdb", change=lambda data: data.replace(announced, less))
        self.assert_refused("longer than the archive announces")
