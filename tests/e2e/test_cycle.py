"""Packets travel in both directions."""
import re
import shutil
import tempfile
import pathlib

import support
from support import HostTest, files_below, finish, run, wait_until, windows

NAMES = ["a.mdb", "b.xml", "with blanks.mdb", "1234~2.mdb", "no extension", "Größe 5 µm.xml",
         "north/district 7/deep.mdb", "empty.mdb"]


class CycleTest(HostTest):
    def put_all(self, side):
        for name in NAMES:
            self.put(side, name, b"" if name == "empty.mdb" else None)

    def test_packets_cross_in_both_directions(self):
        self.put_all(self.field)
        self.put_all(self.enterprise)
        first = self.assert_run(self.field, 0)
        second = self.assert_run(self.enterprise, 0)
        third = self.assert_run(self.field, 0)
        self.assert_delivered()
        sent = {("out", name): "sent" for name in NAMES}
        delivered = {("in", name): "delivered" for name in NAMES}
        self.assertEqual(first.packets, sent)
        self.assertEqual(second.packets, sent | delivered)
        self.assertEqual(third.packets, delivered)

    def test_a_second_run_moves_nothing(self):
        self.put_all(self.field)
        self.assert_run(self.field, 0)
        before = files_below(self.root)
        outcome = self.assert_run(self.field, 0)
        self.assertEqual(outcome.packets, {})
        self.assertIn("0 sent, 0 delivered, 0 left behind", outcome.output)
        self.assertEqual(files_below(self.root), before)

    def test_a_run_during_another_one_is_refused(self):
        def attempt(load):
            for number in range(200 * load):
                self.put(self.field, f"{number}.mdb")
            first = self.start_run(self.field)
            wait_until(lambda: files_below(self.field.sent) or first.poll() is not None)
            second = self.field.run()
            self.assertEqual(finish(first).code, 0)
            if second.code == 0:
                return False
            self.assertEqual(second.code, 1, second)
            self.assertIn("Another znhost is at work with", second.errors)
            self.assert_run(self.enterprise, 0)
            self.assert_delivered()
            return True

        self.in_time(attempt)

    def test_sent_files_are_archived_and_replace_older_ones(self):
        old = self.put(self.field, "sub/a.mdb", b"old")
        self.assert_run(self.field, 0)
        self.assertEqual((self.field.sent / "sub/a.mdb").read_bytes(), b"old")
        old.write_bytes(b"new")
        self.assert_run(self.field, 0)
        self.assertEqual(files_below(self.field.sent).keys(), {"sub/a.mdb"})
        self.assertEqual((self.field.sent / "sub/a.mdb").read_bytes(), b"new")

    def test_without_an_archive_sent_files_are_deleted(self):
        self.field.change("sent", "")
        self.put(self.field, "a.mdb")
        self.assert_run(self.field, 0)
        self.assertEqual(files_below(self.field.sent), {})
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()

    def test_backups_of_the_receive_folder_are_no_packets(self):
        backup = self.enterprise.receive / "Backup" / "old.mdb"
        backup.parent.mkdir()
        backup.write_bytes(b"backup")
        self.put(self.enterprise, "sub/Backup/a.mdb", folder=self.enterprise.receive)
        outcome = self.assert_run(self.enterprise, 0)
        self.assertEqual(outcome.packets, {("in", "sub/Backup/a.mdb"): "delivered"})
        self.assertEqual(backup.read_bytes(), b"backup")

    def test_names_that_belong_to_the_transport_are_not_added(self):
        self.field.change("encoder", "zip")
        for name in ("Backup/a.mdb", "BACKUP/deep/b.mdb", "c.mdb.AFZ", "d.mdb~Base.axd"):
            self.put(self.field, name)
        self.put(self.field, "sub/Backup/c.mdb")
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.output.count("use another name"), 4, outcome)
        self.assertEqual(outcome.packets.pop(("out", "sub/Backup/c.mdb")), "sent")
        self.assertEqual(len(files_below(self.field.outbox)), 4)

    def test_list_shows_what_waits_and_moves_nothing(self):
        (self.field.outbox / "sub").mkdir()
        (self.field.outbox / "sub" / "new.mdb").write_bytes(b"1" * 1500)
        (self.field.send / "waits.mdb").write_bytes(b"22")
        (self.field.receive / "came.mdb").write_bytes(b"333")
        outcome = run("list", windows(self.field.settings))
        self.assertEqual(outcome.code, 0, outcome)
        rows = [re.split(r"\s{2,}", line) for line in outcome.output.splitlines()]
        self.assertIn(["outbox", "sub\\new.mdb", "1,500"], rows)
        self.assertIn(["send folder", "waits.mdb", "2"], rows)
        self.assertIn(["receive folder", "came.mdb", "3"], rows)
        self.assertIn("outbox: 1 packet, 1,500 bytes", outcome.output)
        self.assertTrue((self.field.outbox / "sub" / "new.mdb").exists())
        self.assertTrue((self.field.receive / "came.mdb").exists())


class ProgramTest(support.unittest.TestCase):
    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="znhost-e2e-"))
        self.addCleanup(shutil.rmtree, self.scratch, ignore_errors=True)

    def test_demo_delivers_all_and_leaves_nothing(self):
        folder = self.scratch / "demo"
        outcome = run("demo", windows(folder))
        self.assertEqual(outcome.code, 0, outcome)
        lines = outcome.output.splitlines()
        self.assertRegex(lines[0], r"\b(32|64)-bit\b")
        self.assertEqual(lines[-1], "demo: 15 packets delivered, 0 lost")
        self.assertFalse(folder.exists())

    def test_demo_keeps_its_folder_when_asked(self):
        folder = self.scratch / "demo"
        outcome = run("demo", windows(folder), "--keep")
        self.assertEqual(outcome.code, 0, outcome)
        self.assertEqual((folder / "enterprise" / "inbox" / "survey.mdb").stat().st_size, 64 << 20)
        again = run("demo", windows(folder))
        self.assertEqual(again.code, 2, again)

    def test_help_and_version_everywhere(self):
        for arguments in ([], *([command] for command in ("init", "run", "list", "backups", "config", "verify",
                                                          "settings", "demo"))):
            with self.subTest(arguments):
                outcome = run(*arguments, "--help")
                self.assertEqual(outcome.code, 0, outcome)
                self.assertIn("Examples:", outcome.output)
                outcome = run(*arguments, "--version")
                self.assertEqual(outcome.code, 0, outcome)
                self.assertRegex(outcome.output, r"^znhost \d+\.\d+\.\d+ \((32|64)-bit\)$")

    def test_missing_libraries_are_named(self):
        shutil.copy(support.BIN / "znhost.exe", self.scratch)
        run("init", windows(self.scratch / "pair"))
        support.Side(self.scratch / "pair", "field").change("encoder", "none")
        packet = self.scratch / "pair" / "field" / "outbox" / "a.mdb"
        packet.write_bytes(b"packet")
        outcome = run("run", windows(self.scratch / "pair" / "field.ini"),
                      program=self.scratch / "znhost.exe")
        self.assertEqual(outcome.code, 1, outcome)
        self.assertIn("Missing there: znTransporter.dll", outcome.errors)
        self.assertTrue(packet.exists())
