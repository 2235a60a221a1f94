"""Packets that are compressed or reduced to differences, by the real programs."""
import os
import random
import shutil
import subprocess
import time

from support import HostTest, end_programs_naming, finish, start, temporary_folders, windows


def database(pages, seed):
    """Pages of text and numbers, as a database has them."""
    words = [b"pole ", b"cable ", b"meter ", b"replaced ", b"inspected ", b"closed "]
    source = random.Random(seed)
    return b"".join((b"PAGE" + b"".join(source.choice(words) + b"%d;" % source.getrandbits(32) for _ in range(200)))
                    .ljust(4096, b"\0")[:4096] for _ in range(pages))


class EncoderCase(HostTest):
    encoder = "zip"

    def install(self, root):
        super().install(root)
        for side in (self.field, self.enterprise):
            side.change("encoder", self.encoder)

    def travelling(self):
        return sorted(path.relative_to(self.to_enterprise).as_posix() for path in self.to_enterprise.rglob("*.*"))

    def row(self, outcome, packet):
        """Cells of a packet's line in the table."""
        lines = [line for line in outcome.output.splitlines() if f" {packet} " in line]
        self.assertEqual(len(lines), 1, outcome)
        return lines[0]


class ZipTest(EncoderCase):
    def test_packets_travel_compressed(self):
        content = database(200, seed=1)
        for name in ("a.mdb", "sub dir/größe 5~1.mdb", "日本.mdb"):
            self.put(self.field, name, content)
        self.put(self.field, "as it is.xml")
        sent = self.assert_run(self.field, 0)
        self.assertEqual(self.travelling(), sorted(["a.mdb.afz", "as it is.xml", "sub dir/größe 5~1.mdb.afz",
                                                    "日本.mdb.afz"]))
        self.assertRegex(self.row(sent, "a.mdb"), r"819,200 +[12]\d\d,\d{3} +[123]\d\.\d %  sent$")
        received = self.assert_run(self.enterprise, 0)
        self.assertRegex(self.row(received, "a.mdb"), r"819,200 +[12]\d\d,\d{3} +[123]\d\.\d %  delivered$")
        self.assert_delivered()

    def test_a_damaged_archive_costs_nothing(self):
        self.put(self.field, "a.mdb", database(50, seed=1))
        self.assert_run(self.field, 0)
        self.assert_run(self.enterprise, 0)
        self.put(self.field, "a.mdb", database(50, seed=2))
        self.assert_run(self.field, 0)
        archive = self.to_enterprise / "a.mdb.afz"
        whole = archive.read_bytes()
        archive.write_bytes(whole[:5000] + bytes([whole[5000] ^ 0x55]) + whole[5001:])
        outcome = self.assert_run(self.enterprise, 1)
        self.assertEqual(outcome.packets["in", "a.mdb"], "not delivered")
        self.assertEqual((self.enterprise.inbox / "a.mdb").read_bytes(), database(50, seed=1))
        (self.enterprise.receive / "a.mdb.afz").write_bytes(whole)
        self.assert_run(self.enterprise, 0)
        self.assertEqual((self.enterprise.inbox / "a.mdb").read_bytes(), database(50, seed=2))

    def test_an_empty_packet_stays_in_the_outbox(self):
        self.put(self.field, "empty.mdb", b"")
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "empty.mdb"): "not added"})
        self.assert_nothing_lost()

    def test_a_missing_program_is_named_before_anything_moves(self):
        self.put(self.field, "a.mdb")
        self.field.change("zip_util_location", windows(self.scratch))
        outcome = self.assert_run(self.field, 2)
        self.assertIn("[zip] zip_util_location", outcome.errors)
        self.assert_nothing_lost()

    def test_hosts_that_run_side_by_side_keep_their_packets_apart(self):
        packets = []
        for name in ("one", "two"):
            self.install(self.scratch / name)
            packets.append((self.put(self.field, "a.mdb", os.urandom(4_000_000)).read_bytes(), self.field,
                            self.enterprise))
        runs = [self.start_run(field) for _, field, _ in packets]
        self.assertEqual([finish(process).code for process in runs], [0, 0])
        for content, _, enterprise in packets:
            self.assert_run(enterprise, 0)
            self.assertEqual((enterprise.inbox / "a.mdb").read_bytes(), content)

    def test_work_files_of_a_host_that_was_ended_are_removed(self):
        no_process = 4294967292
        abandoned = [folder / f"znhost-work-{no_process}" for folder in temporary_folders()]
        for folder in abandoned:
            folder.mkdir()
            (folder / "a.mdb.afz").write_bytes(b"part of an archive")
        self.assert_run(self.field, 0)
        self.assertIn(False, [folder.exists() for folder in abandoned])

    def test_the_host_can_end_at_any_moment_of_a_delivery(self):
        old, new = database(400, seed=1), os.urandom(3_000_000)
        self.put(self.field, "a.mdb", new)
        self.assert_run(self.field, 0)
        archive = (self.to_enterprise / "a.mdb.afz").read_bytes()
        (self.to_enterprise / "a.mdb.afz").unlink()
        target = self.enterprise.inbox / "a.mdb"
        backup = self.enterprise.inbox / "a.mdb_bck"

        def arrange():
            target.write_bytes(old)
            (self.enterprise.receive / "a.mdb.afz").write_bytes(archive)

        arrange()
        began = time.monotonic()
        self.assert_run(self.enterprise, 0)
        whole_run = time.monotonic() - began
        ends = set()
        self.addCleanup(end_programs_naming, str(self.scratch.name))
        for moment in range(50):
            arrange()
            # No pipes: a program that the host was about to start when it ended may be left holding them.
            process = start("run", windows(self.enterprise.settings), stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)
            time.sleep(whole_run * (0.3 + 0.7 * moment / 50))
            process.kill()
            process.wait()
            contents = [path.read_bytes() for path in (target, backup) if path.exists()]
            self.assertTrue(old in contents or new in contents, f"moment {moment}: {len(contents)} files")
            ends.add((target.exists() and target.read_bytes() == new, backup.exists()))
            self.assert_run(self.enterprise, 0)
            self.assertEqual(target.read_bytes(), new)
            self.assertFalse(backup.exists())
        self.assertGreater(len(ends), 1, "every run ended before or after the delivery")


class DifferenceTest(EncoderCase):
    encoder = "xdelta"

    def install(self, root):
        super().install(root)
        self.base = database(500, seed=1)
        for side in (self.field, self.enterprise):
            reference = root / side.name / "references" / "Base 1.AXR"
            reference.parent.mkdir()
            reference.write_bytes(self.base)
            side.change("reference_path", windows(reference))
            side.reference = reference

    def test_only_the_difference_travels(self):
        content = self.base[:600_000] + b"inserted" + self.base[700_000:] + self.base[:50_000]
        self.put(self.field, "sub/größe.mdb", content)
        sent = self.assert_run(self.field, 0)
        self.assertEqual(self.travelling(), ["sub/größe.mdb~Base 1.axd"])
        self.assertRegex(self.row(sent, "sub\\größe.mdb"), r"1,998,008 +\d{2,3} +0\.0 %  sent$")
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()

    def test_another_reference_is_refused_and_the_packet_waits_for_the_right_one(self):
        self.put(self.field, "a.mdb", self.base + b"more")
        self.assert_run(self.field, 0)
        self.enterprise.reference.write_bytes(database(500, seed=2))
        outcome = self.assert_run(self.enterprise, 1)
        self.assertEqual(outcome.packets, {("in", "a.mdb"): "not delivered"})
        self.enterprise.reference.write_bytes(self.base)
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()

    def test_without_the_program_a_difference_is_not_delivered_as_a_packet(self):
        self.put(self.field, "a.mdb", self.base + b"more")
        self.assert_run(self.field, 0)
        self.enterprise.change("encoder", "none")
        self.enterprise.change("xdelta_util_location", windows(self.scratch))
        outcome = self.assert_run(self.enterprise, 1)
        self.assertEqual(outcome.packets, {("in", "a.mdb"): "not delivered"})
        self.enterprise.change("xdelta_util_location", "")
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()

    def test_without_a_reference_nothing_leaves_the_outbox(self):
        self.put(self.field, "a.mdb")
        self.field.reference.unlink()
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): "not added"})
        self.assertIn("Run the Tulrec application", self.field.log)
        self.assert_nothing_lost()

    def test_each_side_decodes_what_the_other_chose(self):
        shutil.copytree(self.field.reference.parent, self.scratch / "kept")
        self.enterprise.change("encoder", "zip")
        self.put(self.field, "a.mdb", self.base + b"up")
        self.put(self.enterprise, "b.mdb", self.base + b"down")
        self.assert_run(self.field, 0)
        self.assert_run(self.enterprise, 0)
        self.assert_run(self.field, 0)
        self.assert_delivered()
