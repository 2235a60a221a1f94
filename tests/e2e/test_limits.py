"""Full disks, very many files, very long paths."""
import hashlib

from support import HostTest, Mount, WAITING, files_below, make_pair, slow

MANY = 32_768  # one more than a sixteen-bit counter holds


class FullDiskTest(HostTest):
    """A volume has room for two of eight packets; the others wait until there is more."""

    def fill(self, volume_folder):
        volume = Mount(self, volume_folder, "1m")
        self.put_many(8, 400_000, self.field.outbox)
        return volume

    def assert_two_fit(self, volume_folder, side, state, left, taken):
        """Six packets of a state are left in one folder, and two whole ones are in another."""
        volume = self.fill(volume_folder)
        if side is self.enterprise:
            self.assert_run(self.field)
        outcome = self.assert_trouble(side)
        stuck = {name for (_, name), is_in in outcome.packets.items() if is_in == state}
        done = {name for (_, name), is_in in outcome.packets.items() if is_in in ("sent", "delivered")}
        self.assertEqual((len(stuck), len(done), len(outcome.packets)), (6, 2, 8), outcome)
        self.assertEqual(set(files_below(left)), stuck)
        self.assertEqual(set(files_below(taken)), done, "no part of a copy is left")
        volume.remount("size=20m")
        self.assert_next_cycle_delivers()

    def test_the_remote_folder_is_full(self):
        self.assert_two_fit(self.to_enterprise, self.field, WAITING, self.field.send, self.to_enterprise)

    def test_the_send_folder_is_full(self):
        self.assert_two_fit(self.field.send, self.field, "not added", self.field.outbox, self.to_enterprise)

    def test_a_version_that_does_not_fit_leaves_the_one_that_waits(self):
        Mount(self, self.field.send, "1m")
        self.field.change("remote_send", self.scratch / "file")
        (self.scratch / "file").write_bytes(b"in the way")
        older = self.put(self.field, "a.mdb", content=b"1" * 100_000).read_bytes()
        self.assert_run(self.field, 1, {("out", "a.mdb"): WAITING})
        self.put(self.field, "a.mdb", content=b"2" * 1_500_000)
        self.assert_run(self.field, 1)
        self.assertEqual((self.field.send / "a.mdb").read_bytes(), older)
        self.assertEqual(files_below(self.field.send).keys(), {"a.mdb"})

    def test_the_receive_folder_is_full(self):
        self.assert_two_fit(self.enterprise.receive, self.enterprise, "stays at remote side", self.to_enterprise,
                            self.enterprise.inbox)

    def test_the_inbox_is_full(self):
        self.assert_two_fit(self.enterprise.inbox, self.enterprise, "not delivered", self.enterprise.receive,
                            self.enterprise.inbox)

    def test_the_archive_on_another_volume(self):
        volume = self.fill(self.field.sent)
        (self.field.sent / "7.mdb").write_bytes(b"older")
        outcome = self.assert_trouble(self.field)
        self.assertEqual(outcome.output.count("stays in outbox"), 6, outcome)
        self.assertEqual(len(files_below(self.field.outbox)), 6)
        digests = {name: digest for _, name, digest in self.ledger}
        archived = files_below(self.field.sent)
        self.assertIn(len(archived), (2, 3), "two new files, and the older one where it is none of them")
        self.assertLessEqual(archived.keys(), digests.keys())
        self.assertLessEqual(set(archived.values()), {*digests.values(), hashlib.sha256(b"older").hexdigest()})
        volume.remount("size=20m")
        self.assert_next_cycle_delivers()
        self.assertEqual(files_below(self.field.sent), digests)


class ManyFilesTest(HostTest):
    @slow
    def test_more_files_in_one_folder_than_the_counter_holds(self):
        contents = {}
        for number in range(MANY):
            name = f"{number}.mdb"
            (self.field.send / name).write_bytes(b"packet %d" % number)
            # Wine looks through the whole folder for a name that is not there, which takes minutes here.
            (self.to_enterprise / name).write_bytes(b"older")
            contents[name] = hashlib.sha256(b"packet %d" % number).hexdigest()
        outcome = self.assert_run(self.field, 1, log="Overflow")
        self.assertIn("The transfer failed", outcome.output)
        self.assertEqual(files_below(self.to_enterprise) | files_below(self.field.send), contents)
        self.assert_run(self.field)
        self.assertEqual(files_below(self.to_enterprise), contents)
        self.assertEqual(files_below(self.field.send), {})


class LongPathTest(HostTest):
    LONG = "a folder with a rather long name " * 3

    def test_installations_in_a_deep_folder(self):
        deep = self.scratch / self.LONG.strip() / self.LONG.strip() / self.LONG.strip()
        self.install(make_pair(deep))
        self.assertGreater(len(str(self.field.outbox)), 260)
        self.deliver("a.mdb", "sub/b.mdb")

    def test_packets_in_deep_sub_folders_with_long_names(self):
        name = "/".join(["level " + "x" * 90] * 3) + "/" + "n" * 120 + ".mdb"
        self.put(self.field, name, "a.mdb")
        sent, _ = self.assert_next_cycle_delivers()
        self.assertEqual(sent.packets["out", name], "sent")
