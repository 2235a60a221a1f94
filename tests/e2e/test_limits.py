"""Full disks, very many files, very long paths."""
import hashlib
import os

from support import HostTest, Mount, files_below

MANY = 32_768  # one more than a sixteen-bit counter holds


class FullDiskTest(HostTest):
    def fill(self):
        for number in range(8):
            self.put(self.field, f"{number}.mdb", os.urandom(400_000))

    def test_the_remote_folder_is_full(self):
        volume = Mount(self, self.to_enterprise, "1m")
        self.fill()
        outcome = self.assert_run(self.field, 1)
        sent = {name for (_, name), state in outcome.packets.items() if state == "sent"}
        self.assertEqual(len(sent), 2)
        self.assertEqual(set(files_below(self.to_enterprise)), sent, "no part of a copy is left")
        self.assertEqual(len(files_below(self.field.send)), 6)
        self.assert_nothing_lost()
        volume.remount("size=20m")
        self.assert_next_cycle_delivers()

    def test_the_send_folder_is_full(self):
        volume = Mount(self, self.field.send, "1m")
        self.fill()
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(sorted(outcome.packets.values()), ["not added"] * 6 + ["sent"] * 2)
        self.assertEqual(len(files_below(self.field.outbox)), 6)
        self.assert_nothing_lost()
        volume.remount("size=20m")
        self.assert_next_cycle_delivers()

    def test_the_receive_folder_is_full(self):
        volume = Mount(self, self.enterprise.receive, "1m")
        self.fill()
        self.assert_run(self.field, 0)
        outcome = self.assert_run(self.enterprise, 1)
        self.assertEqual(sorted(outcome.packets.values()), ["delivered"] * 2 + ["stays at remote side"] * 6)
        self.assert_nothing_lost()
        volume.remount("size=20m")
        self.assert_next_cycle_delivers()

    def test_the_inbox_is_full(self):
        volume = Mount(self, self.enterprise.inbox, "1m")
        self.fill()
        self.assert_run(self.field, 0)
        outcome = self.assert_run(self.enterprise, 1)
        self.assertEqual(sorted(outcome.packets.values()), ["delivered"] * 2 + ["not delivered"] * 6)
        self.assertEqual(len(files_below(self.enterprise.inbox)), 2, "no part of a copy is left")
        self.assert_nothing_lost()
        volume.remount("size=20m")
        self.assert_next_cycle_delivers()

    def test_the_archive_on_another_volume(self):
        volume = Mount(self, self.field.sent, "1m")
        (self.field.sent / "7.mdb").write_bytes(b"older")
        self.fill()
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.output.count("stays in outbox"), 6, outcome)
        self.assertEqual(len(files_below(self.field.outbox)), 6)
        whole = dict(self.digests(), older=hashlib.sha256(b"older").hexdigest())
        archived = files_below(self.field.sent)
        self.assertIn(len(archived), (2, 3), "two new files, and the older one where it is none of them")
        self.assertLessEqual(archived.keys(), whole.keys())
        self.assertLessEqual(set(archived.values()), set(whole.values()))
        volume.remount("size=20m")
        self.assert_run(self.field, 0)
        self.assertEqual(files_below(self.field.sent), self.digests())
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()

    def digests(self):
        return {name: digest for _, name, digest in self.ledger}


class ManyFilesTest(HostTest):
    def test_more_files_in_one_folder_than_the_counter_holds(self):
        contents = {}
        for number in range(MANY):
            name = f"{number}.mdb"
            (self.field.send / name).write_bytes(b"packet %d" % number)
            # Wine looks through the whole folder for a name that is not there, which takes minutes here.
            (self.to_enterprise / name).write_bytes(b"older")
            contents[name] = hashlib.sha256(b"packet %d" % number).hexdigest()
        outcome = self.assert_run(self.field, 1, timeout=1200)
        self.assertIn("Overflow", self.field.log)
        self.assertIn("The transfer failed", outcome.output)
        self.assertEqual(files_below(self.to_enterprise) | files_below(self.field.send), contents)
        self.assert_run(self.field, 0, timeout=1200)
        self.assertEqual(files_below(self.to_enterprise), contents)
        self.assertEqual(files_below(self.field.send), {})


class LongPathTest(HostTest):
    LONG = "a folder with a rather long name " * 3

    def test_installations_in_a_deep_folder(self):
        deep = self.scratch / self.LONG.strip() / self.LONG.strip() / self.LONG.strip()
        self.install(deep)
        self.assertGreater(len(str(self.field.outbox)), 260)
        self.put(self.field, "a.mdb")
        self.put(self.field, "sub/b.mdb")
        self.assert_next_cycle_delivers()

    def test_packets_in_deep_sub_folders_with_long_names(self):
        name = "/".join(["level " + "x" * 90] * 3) + "/" + "n" * 120 + ".mdb"
        self.put(self.field, name)
        self.put(self.field, "a.mdb")
        outcome = self.assert_run(self.field, 0)
        self.assertEqual(outcome.packets["out", name], "sent")
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()
