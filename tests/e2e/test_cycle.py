"""Packets travel in both directions."""
import re
import shutil
import signal

import support
from support import Holder, HostTest, ScratchTest, Side, count_below, files_below, finish, run, size_of, start, wait_until, windows


class CycleTest(HostTest):
    def test_a_second_run_moves_nothing(self):
        self.send("a.mdb", "north/district 7/deep.mdb")
        before = files_below(self.root)
        outcome = self.assert_run(self.field, 0, {})
        self.assertIn("0 sent, 0 delivered, 0 left behind", outcome.output)
        after = files_below(self.root)
        for files in (before, after):
            del files["field/send.status"]  # it tells of the last run
        self.assertEqual(after, before)

    def test_what_others_see_of_a_run_at_work(self):
        """A second one is refused, and an examination finds nothing that it has left."""
        def attempt(load):
            self.put_many(40 * load, 50_000, self.field.send)
            first = self.start_run(self.field)
            wait_until(lambda: count_below(self.to_enterprise) >= 3, first)
            first.send_signal(signal.SIGSTOP)  # it stays at work for as long as the others take
            second, examined = self.field.run(), run("doctor", self.field.settings)
            first.send_signal(signal.SIGCONT)
            self.assertEqual(finish(first).code, 0)
            return second.code and (second, examined)

        refused, examined = self.in_time(attempt)
        self.assertEqual(refused.code, 1, refused)
        self.assertIn("Another znhost is at work with", refused.errors)
        self.assertIn("a run is at work", examined.output)
        self.assertNotIn("leftover", examined.output)
        self.assert_received()

    def test_a_run_with_the_send_or_receive_folder_of_another_one_is_refused(self):
        def attempt(load):
            self.field.change("remote_send", self.enterprise.receive)  # which hinders nobody
            others = [self.other_settings(key) for key in ("send", "receive")]
            self.put_many(40 * load, 20_000, self.field.send)
            first = self.start_run(self.field)
            wait_until(lambda: count_below(self.enterprise.receive) > 0, first)
            first.send_signal(signal.SIGSTOP)
            outcomes = [run("run", settings) for settings in others]
            neighbour = self.enterprise.run()
            first.kill()
            first.send_signal(signal.SIGCONT)
            first.wait()
            # It can have been stopped where a copy has just begun, which the next run would tell of.
            for part in self.enterprise.receive.glob("*.arriving"):
                part.unlink(missing_ok=True)
            self.assertNotIn("Another znhost", neighbour.errors)
            return all(outcome.code for outcome in outcomes) and outcomes

        for folder, outcome in zip(("send", "receive"), self.in_time(attempt)):
            self.assertIn(f"Another znhost is at work with {windows(getattr(self.field, folder))};", outcome.errors)
        self.assert_next_cycle_delivers()
        self.assertEqual([str(path) for path in self.root.rglob("*.lock")], [])

    def other_settings(self, shared):
        """Settings of which one folder is that of the field."""
        other = Side(self.root, "field")
        other.settings = self.root / f"{shared}.ini"
        text = self.field.settings.read_text(encoding="utf-8")
        other.settings.write_text(text.replace("= field\\", "= other\\").replace("= share\\", "= other\\share\\"),
                                  encoding="utf-8")
        other.change(shared, getattr(self.field, shared))
        (self.root / "other" / "outbox").mkdir(parents=True, exist_ok=True)
        return other.settings

    def test_sent_files_are_archived_and_replace_older_ones(self):
        for content in (b"old", b"new"):
            self.send("sub/a.mdb", content=content)
            self.assertEqual(files_below(self.field.sent).keys(), {"sub/a.mdb"})
            self.assertEqual((self.field.sent / "sub/a.mdb").read_bytes(), content)

    def test_what_the_system_keeps_in_folders_is_no_packet(self):
        names = {"Desktop.ini", "sub/Thumbs.db", "open.ldb", "sub/open.LACCDB"}
        for name in names:
            (self.field.outbox / name).parent.mkdir(exist_ok=True)
            (self.field.outbox / name).write_bytes(b"")
        self.assert_run(self.field, 0, {})
        self.assertEqual(files_below(self.field.outbox).keys(), names)
        self.assertIn("outbox: 0 packets", self.assert_ends(0, "list", self.field.settings).output)

    def test_a_read_only_packet_travels_once(self):
        for sent, name in ((self.field.sent, "a.mdb"), ("", "b.mdb")):
            self.field.change("sent", sent)
            self.put(self.field, name).chmod(0o444)
            self.assert_next_cycle_delivers()
        self.assertEqual(files_below(self.field.sent).keys(), {"a.mdb"})

    def test_what_a_link_in_the_outbox_leads_to_is_no_packet(self):
        elsewhere = self.scratch / "elsewhere"
        self.put(self.field, "a.mdb", folder=elsewhere)
        (self.field.outbox / "link").symlink_to(elsewhere, target_is_directory=True)
        self.assert_run(self.field, 0, {})
        self.assertEqual(files_below(elsewhere).keys(), {"a.mdb"})

    def test_what_is_received_through_a_link_is_delivered(self):
        """As where large packets have a disk of their own."""
        disk = self.scratch / "disk"
        disk.mkdir()
        (self.enterprise.receive / "big").symlink_to(disk, target_is_directory=True)
        self.put(self.field, "big/a.mdb")
        self.assert_next_cycle_delivers()

    def test_backups_of_the_receive_folder_are_no_packets(self):
        backup = self.enterprise.receive / "Backup" / "old.mdb"
        backup.parent.mkdir()
        backup.write_bytes(b"backup")
        self.put(self.enterprise, "sub/Backup/a.mdb", folder=self.enterprise.receive)
        self.assert_run(self.enterprise, 0, {("in", "sub/Backup/a.mdb"): "delivered"})
        self.assertEqual(backup.read_bytes(), b"backup")

    def test_names_that_belong_to_the_transport_are_not_added(self):
        self.field.change("encoder", "zip")
        names = ("Backup/a.mdb", "c.mdb.AFZ", "d.mdb~Base.axd", "plain.axd", ".axd", ".AFZ", "rwd_testfile.txt",
                 "e.mdb~Base.axd_bck", "f.mdb_BAK", "~12-34.arriving")
        self.put(self.field, *names, "sub/Backup/c.mdb")
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.output.count("use another name"), len(names), outcome)
        self.assertEqual(outcome.packets["out", "sub/Backup/c.mdb"], "sent")
        self.assertEqual(files_below(self.field.outbox).keys(), set(names))
        self.put(self.field, "deep/x.mdb", "backup", folder=self.field.outbox / "sub")
        shutil.rmtree(self.field.outbox / "Backup")
        (self.field.outbox / "BACKUP").write_bytes(b"a file")
        self.assertIn("use another name", self.assert_run(self.field, 1).output)
        self.assertTrue((self.field.outbox / "BACKUP").exists())

    def test_packets_in_a_remote_folder_called_backup_are_delivered_beside_the_backups(self):
        self.enterprise.change("backups", "yes")
        older = self.deliver("a.mdb")
        for arrival in ("Backup/a.mdb", "Backup/sub/b.mdb"):
            self.put(self.field, arrival, content=b"of another host", folder=self.to_enterprise)
        outcome = self.assert_run(self.enterprise, 0, {("in", "Backup (received)/a.mdb"): "delivered",
                                                       ("in", "Backup (received)/sub/b.mdb"): "delivered"})
        self.assertEqual(outcome.output.count("where the receive folder keeps backups"), 2, outcome)
        self.assertEqual((self.enterprise.receive / "Backup" / "a.mdb").read_bytes(), older)
        self.assertEqual((self.enterprise.inbox / "Backup (received)" / "a.mdb").read_bytes(), b"of another host")
        in_the_way = self.enterprise.receive.with_name("receive.backups")
        in_the_way.write_bytes(b"a file")
        self.put(self.field, "Backup/d.mdb", content=b"beside backups that stay", folder=self.to_enterprise)
        self.assert_run(self.enterprise, 0, {("in", "Backup (received)/d.mdb"): "delivered"})
        self.assertEqual((self.enterprise.receive / "Backup" / "a.mdb").read_bytes(), older)
        in_the_way.unlink()
        shutil.rmtree(self.enterprise.receive / "Backup")
        shutil.rmtree(self.to_enterprise / "Backup")
        (self.to_enterprise / "Backup").write_bytes(b"a file")
        self.assert_run(self.enterprise, 0, {("in", "Backup (received)/Backup"): "delivered"})
        self.send("c.mdb")
        self.assert_run(self.enterprise, 0, {("in", "c.mdb"): "delivered"})
        self.assertTrue((self.enterprise.receive / "Backup" / "c.mdb").is_file())

    def test_received_files_with_names_of_the_transport_itself_are_set_aside(self):
        (self.to_enterprise / "x.mdb_bak").write_bytes(b"one")
        self.assert_run(self.enterprise, 1, {("in", "x.mdb_bak"): "not delivered"})
        (self.enterprise.receive.with_name("receive.refused") / "x.mdb_bak").unlink()
        (self.enterprise.receive / "sub").mkdir()
        for content in (b"one", b"two"):
            (self.enterprise.receive / "sub" / "RWD_TestFile.txt").write_bytes(content)
            outcome = self.assert_run(self.enterprise, 1, {("in", "sub/RWD_TestFile.txt"): "not delivered"})
            self.assertIn("receive.refused", outcome.output)
        self.assert_run(self.enterprise, 0, {})
        refused = self.enterprise.receive.with_name("receive.refused")
        self.assertEqual({path.read_bytes() for path in refused.rglob("RWD*")}, {b"one", b"two"})

    def test_what_the_other_side_tests_a_folder_with_is_no_packet(self):
        for folder in (self.to_enterprise, self.enterprise.send):
            self.put(self.field, "sub/RWD_TestFile.txt", folder=folder)
        self.ledger.clear()
        self.assert_run(self.enterprise, 0, {})
        for folder in (self.to_enterprise, self.enterprise.send):
            self.assertEqual(files_below(folder).keys(), {"sub/RWD_TestFile.txt"})

    def test_who_may_use_a_folder_may_use_what_was_moved_there(self):
        """From the folder for temporary files, and from the receive folder."""
        for folder in (self.field.send, self.enterprise.inbox):
            folder.chmod(0o777)
        self.put(self.field, "a.xml")
        self.put(self.field, "b.mdb")
        self.field.change("encoder", "zip")
        away = self.to_enterprise.rename(self.scratch / "away")
        self.to_enterprise.touch()
        self.assert_run(self.field, 1)
        self.to_enterprise.unlink()
        away.rename(self.to_enterprise)
        self.assertTrue((self.field.send / "b.mdb.afz").stat().st_mode & 0o002)
        self.assert_run(self.field)
        self.assert_run(self.enterprise)
        self.assert_received()
        self.assertTrue((self.enterprise.inbox / "a.xml").stat().st_mode & 0o002)

    def test_what_a_killed_run_was_receiving_is_set_aside(self):
        """And what somebody still copies there, whose send target it is, is left alone."""
        (self.enterprise.receive / "sub").mkdir()
        (self.enterprise.receive / "sub" / "~12-34.arriving").write_bytes(b"a part")
        coming = self.enterprise.receive / "sub" / "~12-35.arriving"
        coming.write_bytes(b"more of it comes")
        Holder(self, coming)
        self.put(self.field, "sub/a.mdb", folder=self.to_enterprise)
        outcome = self.assert_run(self.enterprise, 1, {("in", "sub/~12-34.arriving"): "not delivered",
                                                       ("in", "sub/a.mdb"): "delivered"})
        self.assertIn("it may be a part; its source is where it was", outcome.output)
        self.assert_run(self.enterprise, 0, {})
        self.assertTrue(coming.exists())

    def test_list_shows_what_waits_and_moves_nothing(self):
        self.put(self.field, "sub/new.mdb", content=b"1" * 1500)
        (self.field.send / "waits.mdb").write_bytes(b"22")
        (self.field.receive / "came.mdb").write_bytes(b"333")
        before = files_below(self.root / "field")
        outcome = self.assert_ends(0, "list", self.field.settings)
        rows = [re.split(r"\s{2,}", line) for line in outcome.output.splitlines()]
        self.assertIn(["outbox", "sub\\new.mdb", "1,500"], rows)
        self.assertIn(["send folder", "waits.mdb", "2"], rows)
        self.assertIn(["receive folder", "came.mdb", "3"], rows)
        self.assertIn("outbox: 1 packet, 1,500 bytes", outcome.output)
        self.assertEqual(files_below(self.root / "field"), before)


class ProgramTest(ScratchTest):
    def test_demo_delivers_all_and_leaves_nothing(self):
        folder = self.scratch / "demo"
        lines = self.assert_ends(0, "demo", folder).output.splitlines()
        self.assertRegex(lines[0], r"\b(32|64)-bit\b")
        self.assertEqual(lines[-1], "demo: 15 packets delivered, 0 lost")
        self.assertFalse(folder.exists())

    def test_demo_keeps_its_folder_when_asked(self):
        folder = self.scratch / "demo"
        process = start("demo", folder, "--keep")
        wait_until(lambda: size_of(folder / "field" / "outbox" / "survey.mdb") > 0, process)
        process.send_signal(signal.SIGINT)
        outcome = finish(process)
        self.assertEqual(outcome.code, 1, outcome)
        self.assertEqual(outcome.output.splitlines()[-2:],
                         [f"The files are in {windows(folder)}", "demo: stopped by the user"])
        self.assertEqual((folder / "field" / "outbox" / "survey.mdb").stat().st_size, 64 << 20)
        self.assert_ends(2, "demo", folder)  # which is there already

    def test_help_and_version_everywhere(self):
        for arguments in ([], *([command] for command in ("init", "run", "list", "backups", "config", "verify",
                                                          "settings", "demo"))):
            with self.subTest(arguments):
                for option, text in (("--help", "Examples:"),
                                     ("--version", r"^znhost \d+\.\d+\.\d+ \((32|64)-bit\)$")):
                    self.assertRegex(self.assert_ends(0, *arguments, option).output, text)

    def test_missing_libraries_are_named(self):
        shutil.copy(support.BIN / "znhost.exe", self.scratch)
        shutil.copytree(support.fresh_pair(), self.scratch / "pair")
        packet = self.scratch / "pair" / "field" / "outbox" / "a.mdb"
        packet.write_bytes(b"packet")
        outcome = self.assert_ends(1, "run", self.scratch / "pair" / "field.ini", program=self.scratch / "znhost.exe")
        self.assertIn("Missing there: znTransporter.dll znFramework.dll\n", outcome.errors)
        self.assertRegex(outcome.errors, "Without registration they cannot be used there: .*(?i:side-by-side|14001|36B1)")
        self.assertTrue(packet.exists())
