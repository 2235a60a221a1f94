"""Backups of received packets, used from the command line."""
from support import Holder, HostTest, Mount, files_below, windows


class BackupTest(HostTest):
    def setUp(self):
        super().setUp()
        self.enterprise.change("backups", "yes")
        self.folder = self.enterprise.receive / "Backup"

    def backups(self, *arguments, code=0):
        return self.assert_ends(code, "backups", self.enterprise.settings, *arguments)

    def test_a_packet_comes_back_from_its_backup(self):
        self.field.change("encoder", "zip")
        self.deliver("a.mdb", "sub/b~1.mdb")
        listed = self.backups().output
        self.assertRegex(listed, r"(?m)^a +a\.mdb\.afz +[\d,]+ +20[-\d]+ [:\d]+$")
        self.assertRegex(listed, r"(?m)^b +sub\\b~1\.mdb\.afz +[\d,]+ +20[-\d]+ [:\d]+$")
        self.assertIn("2 packets with a backup", listed)
        (self.enterprise.inbox / "a.mdb").unlink()
        since = self.enterprise.inbox / "sub" / "b~1.mdb"
        since.write_bytes(b"a week of work, or damaged")
        why = f"{windows(self.folder / 'sub' / 'b~1.mdb.afz')} would replace {windows(since)}; take that away first"
        for option in (("--restore-all",), ("--restore", "b")):
            self.assertIn(why, self.backups(*option, code=1).errors)
            self.assert_run(self.enterprise)
            self.assertEqual(since.read_bytes(), b"a week of work, or damaged")
        self.assertTrue((self.enterprise.inbox / "a.mdb").is_file())
        self.backups("--restore", "b", "--over")
        self.assert_received()
        self.backups("--destroy", "a")
        self.assertIn("1 packet with a backup", self.backups().output)
        self.assertIn("no backup of packet a", self.backups("--restore", "a", code=1).errors)
        self.backups("--restore", "a", "--destroy", "b", code=2)
        self.assertIn("--over requires --restore", self.backups("--over", code=2).errors)

    def test_backups_whose_names_hold_no_id(self):
        names = {".hidden", "noext", "sub/~x.mdb"}
        self.deliver("a.mdb", *names)
        (self.enterprise.inbox / "a.mdb").unlink()
        self.assertIn("1 packet with a backup", self.backups().output)
        errors = self.backups("--restore-all", code=1).errors
        for name in names:
            self.assertIn(f"the backup {windows(self.folder / name)} stays: its name holds no id", errors)
            self.assertIn(f"move it to {windows(self.enterprise.receive / name)};", errors)
        self.assertEqual(files_below(self.folder).keys(), names)
        self.assert_received()

    def test_backups_that_an_ended_run_took_out_of_the_way_are_there(self):
        self.deliver("a.mdb")
        self.folder.rename(self.folder.parent.with_name("receive.backups"))
        self.assertIn("1 packet with a backup", self.backups().output)

    def test_packets_of_several_folders_that_have_one_id(self):
        self.put(self.field, "a.mdb", "sub/a.mdb", "b.mdb")
        for option in (("--restore-all", "--over"), ("--restore", "a", "--over"), ("--destroy", "a")):
            self.assert_next_cycle_delivers()
            left = set() if option[0] == "--restore-all" else {"b.mdb"}
            self.assertEqual(self.backups(*option).output.count("a is "), 1)
            self.assertEqual(files_below(self.folder).keys(), left)

    def test_a_backup_replaces_nothing_that_was_received_since(self):
        self.deliver("a.mdb", "b.mdb")
        for folder in ("receive", "receive.waiting"):
            since = self.enterprise.receive.with_name(folder) / "a.mdb.afz"
            since.parent.mkdir(exist_ok=True)
            since.write_bytes(b"since")
            for option in (("--restore", "a"), ("--restore-all",)):
                self.assertIn(f"a version that was received since waits in {windows(since)}; run first",
                              self.backups(*option, "--over", code=1).errors)
            self.assertEqual(files_below(self.folder).keys(), {"a.mdb"})
            since.unlink()

    def test_a_backup_that_is_in_use(self):
        self.deliver("a.mdb")
        (self.enterprise.inbox / "a.mdb").unlink()
        holder = Holder(self, self.folder / "a.mdb")
        for option, what in (("--restore", "moved into the receive folder"), ("--destroy", "deleted")):
            self.assertIn(f"the backup of packet a cannot be {what} and stays",
                          self.backups(option, "a", code=1).errors)
        holder.release()
        self.backups("--restore", "a")

    def test_encoder_programs_are_needed_for_a_run_only(self):
        packet = self.put(self.enterprise, "a.mdb")
        self.enterprise.change("encoder", "zip")
        self.enterprise.change("zip_util_location", self.scratch / "nowhere")
        errors = self.assert_run(self.enterprise, 2).errors
        for text in ("[zip] zip_util_location", "Zip.exe"):
            self.assertIn(text, errors)
        self.assertTrue(packet.exists())
        self.backups()

    def test_a_full_disk_costs_neither_the_packet_nor_its_older_backup(self):
        volume = Mount(self, self.folder, "64k")
        older = self.folder / "a.mdb"
        older.write_bytes(b"older")
        packet = self.send("a.mdb", content=bytes(100_000))
        self.assert_trouble(self.enterprise, {("in", "a.mdb"): "not delivered"})
        self.assertEqual((self.enterprise.receive / "a.mdb").read_bytes(), packet)
        self.assertEqual(list(files_below(self.folder)), ["a.mdb"])
        self.assertEqual(older.read_bytes(), b"older")
        volume.remount("size=1m")
        self.assert_next_cycle_delivers()
        self.assertEqual(older.read_bytes(), packet)
        # Back from one volume to the other.
        self.backups("--restore", "a", "--over")
        self.assertEqual(files_below(self.folder), {})
        self.assert_next_cycle_delivers()

    def test_a_write_protected_disk_takes_no_backup_but_the_packet_arrives(self):
        volume = Mount(self, self.folder, "1m")
        volume.remount("ro")
        self.send("a.mdb")
        outcome = self.assert_run(self.enterprise, 1, {("in", "a.mdb"): "delivered"})
        self.assertIn("there is no backup", outcome.output + outcome.errors)
        self.assert_delivered()
        self.assertIn("RWD_TestFile.txt", self.enterprise.log)
        volume.remount("rw")
        self.deliver("b.mdb")
        self.assertEqual(list(files_below(self.folder)), ["b.mdb"])
