#!/usr/bin/env python3
"""End-to-end tests of znhost over real folders: run.py BINDIR

BINDIR holds znhost.exe and the libraries. Whatever goes wrong in a test, no packet may be missing on both
sides, and the next run completes the job.
"""
import hashlib
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = None
TIMEOUT = 600


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


def start(*arguments):
    return subprocess.Popen([ROOT / "tools/wine", PROGRAM, *map(str, arguments)], stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, encoding="utf-8",
                            start_new_session=True)


class Result:
    def __init__(self, process):
        self.out, self.err = process.communicate(timeout=TIMEOUT)
        self.code = process.returncode

    def __str__(self):
        return f"exit code {self.code}\n{self.out}{self.err}"


def znhost(*arguments):
    return Result(start(*arguments))


def contents(folder):
    """Content hashes of all files below a folder, by relative path."""
    return {str(file.relative_to(folder)): hashlib.sha256(file.read_bytes()).hexdigest()
            for file in folder.rglob("*") if file.is_file()}


class EndToEnd(unittest.TestCase):
    def setUp(self):
        self.base = pathlib.Path(tempfile.mkdtemp(prefix="znhost-"))
        self.addCleanup(shutil.rmtree, self.base, ignore_errors=True)
        self.field = self.base / "field"
        self.enterprise = self.base / "enterprise"
        self.share = self.base / "share"
        result = znhost("init", windows(self.base))
        self.assertEqual(result.code, 0, result)

    def pack(self, name, content=None, folder="outbox"):
        file = self.field / folder / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(os.urandom(5000) if content is None else content)
        return file

    def run_side(self, side, code=0):
        result = znhost("run", windows(self.base / f"{side}.ini"))
        self.assertEqual(result.code, code, result)
        return result

    def log(self):
        return (self.base / "field.log").read_text("utf-8").replace("\r\n", "\n")

    def mount(self, folder, options):
        if os.geteuid() != 0:
            self.skipTest("mounting a file system needs root")
        subprocess.run(["mount", "-t", "tmpfs", "-o", options, "tmpfs", folder], check=True)
        self.addCleanup(subprocess.run, ["umount", folder], stderr=subprocess.DEVNULL)

    def assert_nothing_lost(self, packets):
        """Each packet is whole in one of the folders on its way."""
        found = set()
        for folder in (self.field / "outbox", self.field / "send", self.share, self.enterprise / "receive",
                       self.enterprise / "inbox"):
            if folder.is_dir():
                found.update(contents(folder).values())
        self.assertEqual(set(packets.values()) - found, set())

    def assert_next_runs_complete(self, packets):
        self.run_side("field")
        self.run_side("enterprise")
        self.assertEqual(contents(self.enterprise / "inbox"), packets)
        self.assertEqual(contents(self.field / "send"), {})


class Cycle(EndToEnd):
    def test_packets_travel_both_ways(self):
        for name in ("a.mdb", "b c.xml", "4711~2.mdb", "Größe.xml", "district/x.mdb"):
            self.pack(name)
        self.pack("empty.mdb", b"")
        down = self.enterprise / "outbox" / "reply.mdb"
        down.write_bytes(os.urandom(70000))
        (self.field / "inbox" / "reply.mdb").write_bytes(b"older")
        up = contents(self.field / "outbox")
        reply = contents(self.enterprise / "outbox")

        listed = znhost("list", windows(self.base / "field.ini"))
        self.assertEqual(listed.code, 0, listed)
        self.assertIn("outbox: 6 packets", listed.out)
        sent = self.run_side("field")
        self.assertIn("6 sent, 0 delivered, 0 left behind", sent.out)
        self.assertEqual(contents(self.field / "sent"), up, "sent packets are archived")
        received = self.run_side("enterprise")
        self.assertIn("1 sent, 6 delivered, 0 left behind", received.out)
        self.run_side("field")
        self.assertEqual(contents(self.enterprise / "inbox"), up)
        self.assertEqual(contents(self.field / "inbox"), reply, "the older file is replaced, no copy of it is left")

        again = self.run_side("field")
        self.assertIn("0 sent, 0 delivered, 0 left behind", again.out)

    def test_settings_and_usage_errors_name_what_is_wrong(self):
        text = (self.base / "field.ini").read_text("utf-8")
        file = self.base / "bad.ini"
        for old, new, named in (("role = field", "role = foo", "[host] role = foo"),
                                ("role = field", "", "[host] role is missing"),
                                ("[log]", "[logs]", "[logs] is an unknown section"),
                                ("outbox = ", "outbocks = ", "[folders] outbocks is an unknown key"),
                                ("outbox = field\\outbox", "outbox = field\\none", "[folders] outbox"),
                                ("inbox = field\\inbox", "inbox = field.ini", "[folders] inbox"),
                                ("inbox = field\\inbox", "inbox = field\\outbox", "[folders] inbox"),
                                ("file = field.log", "file = field\\inbox", "[log] file")):
            self.assertIn(old, text)
            file.write_text(text.replace(old, new), "utf-8")
            result = znhost("run", windows(file))
            self.assertEqual(result.code, 2, result)
            self.assertIn(named, result.err)
        for arguments, named in (((), "command"), (("fly",), "fly"), (("run",), "SETTINGS"),
                                 (("run", "x.ini", "--fast"), "--fast"), (("run", "missing.ini"), "missing.ini")):
            result = znhost(*arguments)
            self.assertEqual(result.code, 2, result)
            self.assertIn(named, result.err)
        for arguments in (("--help",), ("run", "--help"), ("--version",)):
            self.assertEqual(znhost(*arguments).code, 0)
        repeated = znhost("init", windows(self.base))
        self.assertEqual(repeated.code, 1, repeated)
        self.assertIn("field.ini exists already", repeated.err)

    def test_missing_local_folders_are_made(self):
        for folder in ("send", "receive", "inbox", "sent"):
            (self.field / folder).rmdir()
        self.pack("a.mdb")
        packets = contents(self.field / "outbox")
        self.assert_next_runs_complete(packets)

    def test_long_paths(self):
        name = "/".join(["0123456789 0123456789 0123456789 0123456789"] * 8) + "/x.mdb"
        self.pack(name)
        packets = contents(self.field / "outbox")
        self.assert_next_runs_complete(packets)


class Faults(EndToEnd):
    def test_read_only_source_stays_and_is_reported(self):
        self.pack("a.mdb").chmod(0o444)
        self.pack("b.mdb")
        packets = contents(self.field / "outbox")
        result = self.run_side("field", code=1)
        self.assertIn("a.mdb", result.out)
        self.assertEqual(contents(self.share / "to-enterprise"), packets)
        self.assertEqual(list(contents(self.field / "send")), ["a.mdb"])
        self.assertIn("Could not delete packet file: " + windows(self.field / "send/a.mdb"), self.log())
        # The copy is read-only as well, and would stay at the share in its turn.
        (self.field / "send/a.mdb").chmod(0o644)
        (self.share / "to-enterprise/a.mdb").chmod(0o644)
        self.assert_next_runs_complete(packets)

    def test_share_that_is_gone_before_the_run(self):
        self.pack("a.mdb")
        packets = contents(self.field / "outbox")
        shutil.rmtree(self.share)
        self.share.write_bytes(b"a file stands in its place")
        result = self.run_side("field", code=1)
        self.assertIn("waiting in send folder", result.out)
        self.assertIn("Failed to transport packets between remote and local", self.log())
        self.assert_nothing_lost(packets)
        self.share.unlink()
        self.assert_next_runs_complete(packets)

    def test_share_that_vanishes_during_the_run(self):
        for number in range(600):
            self.pack(f"{number:03}.mdb", folder="send")
        packets = contents(self.field / "send")
        gone = self.base / "gone"

        def vanish():
            while len(list((self.share / "to-enterprise").iterdir())) < 20:
                time.sleep(0.001)
            self.share.rename(gone)
            self.share.write_bytes(b"")

        thread = threading.Thread(target=vanish)
        thread.start()
        self.run_side("field", code=1)
        thread.join()
        moved = contents(gone)
        self.assertGreaterEqual(len(moved), 20)
        self.assertEqual(set(packets.values()) - set(moved.values()) - set(contents(self.field / "send").values()),
                         set())
        self.share.unlink()
        gone.rename(self.share)
        self.assert_next_runs_complete(packets)

    def test_read_only_destination(self):
        self.pack("a.mdb")
        packets = contents(self.field / "outbox")
        folder = self.share / "to-enterprise"
        self.mount(folder, "ro")
        result = self.run_side("field", code=1)
        self.assertIn("waiting in send folder", result.out)
        self.assert_nothing_lost(packets)
        subprocess.run(["umount", folder], check=True)
        self.assert_next_runs_complete(packets)

    def test_disk_that_fills_up(self):
        for number in range(4):
            self.pack(f"{number}.mdb", os.urandom(600_000))
        packets = contents(self.field / "outbox")
        folder = self.share / "to-enterprise"
        self.mount(folder, "size=1m")
        self.run_side("field", code=1)
        self.assertIn("clsXCOPYSndRcv.cls.MoveFiles", self.log())
        self.assert_nothing_lost(packets)
        for name, digest in contents(folder).items():
            self.assertEqual(packets[name], digest, "no part of a packet lies under its name")
        subprocess.run(["mount", "-o", "remount,size=8m", folder], check=True)
        self.assert_next_runs_complete(packets)

    def test_folder_in_the_way_of_a_packet(self):
        self.pack("a.mdb")
        packets = contents(self.field / "outbox")
        (self.share / "to-enterprise/a.mdb").mkdir()
        self.run_side("field", code=1)
        self.assert_nothing_lost(packets)
        (self.share / "to-enterprise/a.mdb").rmdir()
        self.assert_next_runs_complete(packets)

    def test_interrupted_by_the_user(self):
        for number in range(600):
            self.pack(f"{number:03}.mdb", folder="send")
        packets = contents(self.field / "send")
        process = start("run", windows(self.base / "field.ini"))
        while not any((self.share / "to-enterprise").iterdir()):
            time.sleep(0.001)
        process.send_signal(signal.SIGINT)
        result = Result(process)
        self.assert_nothing_lost(packets)
        self.assertEqual(result.code, 1, result)
        self.assertIn("Interrupted by user", result.out)
        self.assertIn("Nothing is lost", result.out)
        self.assert_next_runs_complete(packets)

    def test_missing_component_is_named(self):
        bare = self.base / "bare"
        bare.mkdir()
        shutil.copy(PROGRAM, bare)
        result = Result(subprocess.Popen([ROOT / "tools/wine", bare / "znhost.exe", "run",
                                          windows(self.base / "field.ini")], stdin=subprocess.DEVNULL,
                                         stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True))
        self.assertNotEqual(result.code, 0)


def main():
    global PROGRAM
    PROGRAM = str(pathlib.Path(sys.argv[1]).resolve() / "znhost.exe")
    result = unittest.TextTestRunner(verbosity=2).run(unittest.defaultTestLoader.loadTestsFromModule(sys.modules[__name__]))
    bad = len(result.failures) + len(result.errors)
    skipped = len(result.skipped)
    print(f"{result.testsRun - bad - skipped} passed, {bad} failed, {skipped} skipped")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
