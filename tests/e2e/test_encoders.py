"""Packets that are compressed or reduced to differences, by the real programs."""
import hashlib
import io
import os
import random
import shutil
import zipfile

import support
from support import (Holder, HostTest, WAITING, files_below, finish, run, run_with_temp, start, temporary_folders, wait_until,
                     windows)


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

    def start_endless(self, program):
        """A run with a program that would go on for half a minute, what is there as long as that runs, and what it makes then."""
        shutil.copy(support.BIN.parent / "tests" / "child.exe", self.scratch / program)
        self.field.change(f"{self.encoder}_util_location", self.scratch)
        self.put(self.field, "a.mdb")
        running, never, late = (self.scratch / name for name in ("running", "never", "late"))
        steps = f"hold {windows(running)}|await {windows(never)}|write {windows(late)}*an older version"
        process = start("run", self.field.settings, env=os.environ | {"CHILD": steps})
        self.addCleanup(process.kill)
        wait_until(running.exists, process)
        return process, running, late


def zipped(name, content):
    archive = io.BytesIO()
    with zipfile.ZipFile(archive, "w") as file:
        file.writestr(name, content)
    return archive.getvalue()


class ZipTest(EncoderCase):
    def test_a_damaged_archive_costs_nothing(self):
        target = self.enterprise.inbox / "a.mdb"
        target.write_bytes(b"older")
        packet = self.send("a.mdb", content=database(50, seed=2))
        archive = self.to_enterprise / "a.mdb.afz"
        whole = archive.read_bytes()
        archive.write_bytes(whole[:5000] + bytes([whole[5000] ^ 0x55]) + whole[5001:])
        self.assert_run(self.enterprise, 1, {("in", "a.mdb"): "not delivered"})
        self.assertEqual(target.read_bytes(), b"older")
        (self.enterprise.receive / "a.mdb.afz").write_bytes(whole)
        self.assert_run(self.enterprise)
        self.assertEqual(target.read_bytes(), packet)

    def test_read_only_files_of_inbox_and_receive_folder_make_room(self):
        older = self.put(self.enterprise, "sub/a.mdb", content=b"older", folder=self.enterprise.inbox)
        self.ledger.clear()
        older.chmod(0o444)
        self.send("sub/a.mdb")
        received = self.enterprise.receive / "sub/a.mdb.afz"
        received.parent.mkdir(parents=True)
        (self.to_enterprise / "sub/a.mdb.afz").rename(received)
        received.chmod(0o444)
        self.assert_received()
        self.assertEqual(files_below(self.enterprise.inbox).keys(), {"sub/a.mdb"})
        self.assertEqual(files_below(self.enterprise.receive).keys(), set())

    def test_a_packet_that_cannot_be_deleted_is_not_decoded(self):
        self.send("a.mdb")
        received = self.enterprise.receive / "a.mdb.afz"
        (self.to_enterprise / received.name).rename(received)
        reader = Holder(self, received, "read")
        self.assert_run(self.enterprise, 1, {("in", "a.mdb"): "not delivered"})
        self.assertEqual(files_below(self.enterprise.inbox), {})
        reader.release()
        self.assert_received()

    def test_what_no_decoder_restores_under_its_name_replaces_nothing(self):
        other = self.enterprise.inbox / "x.txt"
        other.write_bytes(b"of the user")
        with zipfile.ZipFile(self.to_enterprise / "x.txt.afz", "w") as archive:
            archive.writestr("x.txt", b"packet")
        (self.to_enterprise / "x.txt~Base.axd").write_bytes(b"difference")
        outcome = self.assert_run(self.enterprise, 1)
        self.assertEqual(outcome.output.count("only when that ends with .mdb or .xml"), 2, outcome)
        self.assertEqual(other.read_bytes(), b"of the user")
        self.assertEqual(files_below(self.enterprise.receive.with_name("receive.refused")).keys(),
                         {"x.txt.afz", "x.txt~Base.axd"})

    def test_an_archive_that_holds_more_than_its_packet_replaces_nothing(self):
        other = self.enterprise.inbox / "b.mdb"
        other.write_bytes(b"another packet")
        with zipfile.ZipFile(self.to_enterprise / "a.mdb.afz", "w") as archive:
            archive.writestr("a.mdb", b"packet")
            archive.writestr("b.mdb", b"intruder")
        outcome = self.assert_run(self.enterprise, 1, {("in", "a.mdb"): "not delivered"})
        self.assertIn("the archive holds 2 members in the place of a.mdb", outcome.output)
        self.assertEqual(files_below(self.enterprise.inbox).keys(), {"b.mdb"})
        self.assertEqual(other.read_bytes(), b"another packet")
        self.assertTrue((self.enterprise.receive.with_name("receive.refused") / "a.mdb.afz").is_file())
        self.assert_run(self.enterprise, 0, {})

    def test_an_archive_that_is_refused_or_damaged_is_no_newer_version(self):
        def intruder(path):
            with zipfile.ZipFile(path, "w") as archive:
                archive.writestr("b.mdb", b"intruder")

        for name, make in (("a", intruder), ("c", lambda path: path.write_bytes(b"PK"))):
            self.put(self.field, f"{name}.mdb", folder=self.enterprise.receive)
            make(self.to_enterprise / f"{name}.mdb.afz")
            self.assert_run(self.enterprise, 1)
            self.assert_delivered()

    def test_a_program_beyond_its_time_ends_with_the_host(self):
        self.field.change("zip.timeout", 1)
        process, running, late = self.start_endless("Zip.exe")
        self.assertEqual(finish(process).code, 1)
        wait_until(lambda: not running.exists())
        self.assertFalse(late.exists())

    def test_hosts_that_run_side_by_side_keep_their_packets_apart(self):
        packets = []
        for name in ("one", "two"):
            self.install(self.scratch / name)
            packets.append((self.put(self.field, "a.mdb", content=os.urandom(4_000_000)).read_bytes(), self.field,
                            self.enterprise))
        runs = [self.start_run(field) for _, field, _ in packets]
        self.assertEqual([finish(process).code for process in runs], [0, 0])
        for content, _, enterprise in packets:
            self.assert_run(enterprise)
            self.assertEqual((enterprise.inbox / "a.mdb").read_bytes(), content)

    def test_work_files_of_a_host_that_was_ended_are_removed(self):
        # Of no process, and whole when it appears: other hosts may run, and remove it first.
        name = f"znhost-work-{4294967292 - 4 * random.randrange(10_000)}"
        abandoned = [folder / f"{name}{end}" for folder in temporary_folders() for end in ("", "-42")]
        links = [folder / f"{name}-link" for folder in temporary_folders()]
        for folder in abandoned:
            made = folder.with_name(self.scratch.name)
            made.mkdir()
            (made / "a.mdb.afz").write_bytes(b"part of an archive")
            made.rename(folder)
        for link in links:
            link.symlink_to(self.put(self.field, "of somebody.mdb", folder=self.scratch / "elsewhere").parent)
            self.addCleanup(link.unlink, missing_ok=True)
        self.assert_run(self.field)
        self.assertEqual(sum(not folder.exists() for folder in abandoned), 2)
        self.assertEqual(files_below(self.scratch / "elsewhere").keys(), {"of somebody.mdb"})

    def test_without_a_folder_for_work_files_what_is_not_compressed_travels(self):
        self.put(self.field, "a.mdb")
        outcome = run_with_temp(self.scratch / "cleaned up" / "2", "run", self.field.settings)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): "sent"}, outcome)
        self.put(self.field, "b.mdb", "c.xml")
        (self.scratch / "file").touch()
        outcome = run_with_temp(self.scratch / "file" / "2", "run", self.field.settings)
        self.assertEqual(outcome.packets, {("out", "b.mdb"): "not added", ("out", "c.xml"): "sent"}, outcome)
        self.assertIn("let TEMP and TMP of the account", outcome.output)
        self.assert_next_cycle_delivers()


class DifferenceTest(EncoderCase):
    encoder = "xdelta"

    def install(self, root):
        super().install(root)
        self.base = database(500, seed=1)
        for side in (self.field, self.enterprise):
            side.take_reference(self.base, "Base 1.AXR")

    def test_only_the_difference_travels(self):
        content = self.base[:600_000] + b"inserted" + self.base[700_000:] + self.base[:50_000]
        self.put(self.field, "sub/größe.mdb", content=content)
        sent = self.assert_run(self.field)
        self.assertEqual(files_below(self.to_enterprise).keys(), {"sub/größe.mdb~Base 1.axd"})
        self.assertRegex(sent.output, r"(?m) sub\\größe\.mdb +1,998,008 +\d{2,3} +0\.0 %  sent$")
        self.assert_received()

    def test_a_program_ends_with_the_host_that_is_killed(self):
        process, running, late = self.start_endless("xDelta.exe")
        process.kill()
        process.wait()
        wait_until(lambda: not running.exists())
        self.assertFalse(late.exists())

    def send_offline(self, **settings):
        """A run of the field whose remote folder is gone, with changed settings and a new version of the packet."""
        for setting, value in settings.items():
            self.field.change(setting, value)
        shutil.rmtree(self.to_enterprise)
        self.to_enterprise.write_bytes(b"a file")
        content = self.base + os.urandom(1000)
        (self.field.outbox / "sub").mkdir(exist_ok=True)
        (self.field.outbox / "sub/a.mdb").write_bytes(content)
        outcome = self.assert_run(self.field, 1, {("out", "sub/a.mdb"): WAITING})
        self.assertEqual(len(files_below(self.field.send)), 1, outcome)
        self.to_enterprise.unlink()
        self.to_enterprise.mkdir()
        return content

    def test_a_packet_waits_in_its_newest_form_alone(self):
        for encoder in ("xdelta", "xdelta", "zip", "zip", "none", "xdelta", "xdelta"):
            content = self.send_offline(encoder=encoder)
        self.assert_run(self.field)
        self.assert_run(self.enterprise, 0, {("in", "sub/a.mdb"): "delivered"})
        self.assertEqual((self.enterprise.inbox / "sub/a.mdb").read_bytes(), content)
        self.assertEqual(files_below(self.enterprise.inbox).keys(), {"sub/a.mdb"})

    def test_a_version_that_cannot_be_added_leaves_the_one_that_waits(self):
        content = self.send_offline(encoder="zip")
        self.put(self.field, "sub/a.mdb")
        self.field.reference.unlink()
        self.field.change("encoder", "xdelta")
        outcome = self.assert_run(self.field, 1)
        self.assertIn("1 sent, 0 delivered, 1 left behind", outcome.output)
        self.assert_run(self.enterprise)
        self.assertEqual((self.enterprise.inbox / "sub/a.mdb").read_bytes(), content)

    def test_what_a_program_left_empty_is_no_packet(self):
        """Such as one whose disk is full."""
        older = self.send_offline(sent="", xdelta_util_location=support.BIN)
        shutil.copy(support.BIN.parent / "tests" / "child.exe", self.scratch / "xDelta.exe")
        self.field.change("xdelta_util_location", self.scratch)
        newer = self.put(self.field, "sub/a.mdb", content=self.base + b"newer")
        steps = f"write {windows(self.field.send / 'sub/a.mdb~Base 1.axd')}*|exit 1"
        outcome = run("run", self.field.settings, env=os.environ | {"CHILD": steps})
        self.assertIn("a.mdb~Base 1.axd was left empty", outcome.output, outcome)
        self.assertEqual((outcome.code, newer.read_bytes()), (1, self.base + b"newer"))
        self.assert_run(self.enterprise)
        self.assertEqual((self.enterprise.inbox / "sub/a.mdb").read_bytes(), older)

    def test_what_a_run_left_in_the_send_folder_that_ended_in_between_is_put_right(self):
        aside = self.field.send.with_name("send.older")
        (self.field.send / "a.mdb~Base 1.axd_bck").write_bytes(b"the packet itself")
        for folder, name, content in ((aside, "b.mdb.afz", b"older"), (self.field.send, "b.mdb", b"newer"),
                                      (aside, "sub/c.mdb", b"not replaced"), (aside, "d.mdb", b"older"),
                                      (self.field.outbox, "d.mdb", b"newer")):
            self.put(self.field, name, content=content, folder=folder)
        self.assert_run(self.field)
        arrived = {path.relative_to(self.to_enterprise).as_posix(): path.read_bytes()
                   for path in self.to_enterprise.rglob("*.*")}
        self.assertNotEqual(arrived.pop("d.mdb~Base 1.axd"), b"older")
        self.assertEqual(arrived, {"a.mdb~Base 1.axd": b"the packet itself", "b.mdb": b"newer",
                                   "sub/c.mdb": b"not replaced"})
        self.assertFalse(aside.exists())

    def test_an_older_version_that_cannot_be_removed_does_not_follow_the_newer_one(self):
        aside = self.field.send.with_name("send.older") / "a.mdb"
        aside.parent.mkdir()
        aside.write_bytes(b"older")
        newer = self.put(self.field, "a.mdb", content=self.base + b"newer").read_bytes()
        holder = Holder(self, aside)
        self.assertIn("stays in outbox", self.assert_run(self.field, 1).output)
        holder.release()
        for side in (self.enterprise, self.field, self.enterprise):
            self.assert_run(side)
            self.assertEqual((self.enterprise.inbox / "a.mdb").read_bytes(), newer)

    def assert_waits_for(self, spoil, mend):
        """A difference that cannot be restored is not delivered as a packet, and waits."""
        self.send("a.mdb", content=self.base + b"more")
        spoil()
        self.assert_run(self.enterprise, 1, {("in", "a.mdb"): "not delivered"})
        mend()
        self.assert_received()

    def test_a_version_that_waits_for_its_reference_does_not_follow_a_newer_one(self):
        self.send("sub/a.mdb", content=self.base + b"older")
        self.enterprise.reference.rename(self.scratch / "reference")
        self.assert_run(self.enterprise, 1, {("in", "sub/a.mdb"): "not delivered"})
        self.field.change("encoder", "zip")
        newer = self.send("sub/a.mdb", content=self.base + b"newer")
        self.assertIn("a newer version has arrived", self.assert_run(self.enterprise, 1).output)
        (self.scratch / "reference").rename(self.enterprise.reference)
        self.assert_run(self.enterprise, 0, {})
        self.assertEqual((self.enterprise.inbox / "sub/a.mdb").read_bytes(), newer)
        self.assertEqual(files_below(self.enterprise.receive.with_name("receive.refused")).keys(),
                         {"sub/a.mdb~Base 1.axd"})

    def send_two_forms(self):
        """Leaves the difference of an older version and the archive of a newer one in the remote folder."""
        for encoder in ("xdelta", "zip"):
            self.field.change("encoder", encoder)
            content = self.send("sub/a.mdb", content=self.base + encoder.encode())
        return self.to_enterprise / "sub", content

    def assert_newer_is_delivered(self, newer):
        self.assertIn("a newer version has arrived", self.assert_run(self.enterprise, 1).output)
        self.assert_run(self.enterprise, 0, {})
        self.assertEqual(files_below(self.enterprise.inbox), {"sub/a.mdb": hashlib.sha256(newer).hexdigest()})

    def test_a_version_waits_while_an_older_one_is_on_the_way(self):
        offered, newer = self.send_two_forms()
        # The transport follows links on a share.
        offered = offered.rename(self.scratch / "elsewhere")
        (self.to_enterprise / "sub").symlink_to(offered)
        held = Holder(self, offered / "a.mdb~Base 1.axd")
        self.send("other.xml")
        outcome = self.assert_run(self.enterprise, 1)
        self.assertIn("an older version must be received first", outcome.output)
        self.assertEqual(files_below(self.enterprise.inbox).keys(), {"other.xml"})
        (self.enterprise.inbox / "other.xml").unlink()
        # Without its share the enterprise cannot know whether the older one will come.
        away = self.to_enterprise.rename(self.scratch / "away")
        outcome = self.assert_run(self.enterprise, 1)
        self.assertIn("an older version may be in a folder that cannot be listed now", outcome.output)
        self.assertIn("receive.waiting", self.assert_ends(1, "status", self.enterprise.settings).output)
        away.rename(self.to_enterprise)
        held.release()
        self.assert_newer_is_delivered(newer)

    def test_a_version_waits_for_no_older_one_that_came_and_comes_again(self):
        """The other side's file cannot be deleted."""
        offered, newer = self.send_two_forms()
        holder = Holder(self, offered / "a.mdb~Base 1.axd", "read")
        refused = self.enterprise.receive.with_name("receive.refused")
        self.assertIn("a newer version has arrived", self.assert_run(self.enterprise, 1).output)
        for shift in 0, 0, 3600, -7200:  # as of a FAT volume, which keeps local time
            written = (offered / "a.mdb~Base 1.axd").stat().st_mtime_ns + shift * 1_000_000_000
            os.utime(offered / "a.mdb~Base 1.axd", ns=(written, written))
            self.assertIn("this very version was refused before", self.assert_run(self.enterprise, 1).output)
            self.assertEqual(files_below(refused).keys(), {"sub/a.mdb~Base 1.axd"})
        reader = Holder(self, refused / "sub/a.mdb~Base 1.axd")
        (offered / "b.xml").write_bytes(b"another packet")
        self.assert_run(self.enterprise, 1)
        self.assertTrue((self.enterprise.inbox / "sub/b.xml").exists())
        reader.release()
        holder.release()
        self.assert_run(self.enterprise, 1)
        self.assert_run(self.enterprise, 0, {})
        self.assertEqual((self.enterprise.inbox / "sub/a.mdb").read_bytes(), newer)

    def wait_here(self, name, content, time):
        path = self.enterprise.receive.parent / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        os.utime(path, (1_700_000_000 + time,) * 2)
        return path

    def test_a_version_that_waits_follows_no_newer_one(self):
        self.wait_here("receive.waiting/sub/a.mdb", b"older", 0)
        self.wait_here("receive/sub/a.mdb.afz", zipped("a.mdb", b"newer"), 10)
        away = self.to_enterprise.rename(self.scratch / "away")
        self.assertIn("an older version still waits in", self.assert_run(self.enterprise, 1).output)
        away.rename(self.to_enterprise)
        self.assert_newer_is_delivered(b"newer")

    def test_a_version_that_waits_is_not_replaced_by_a_folder_of_its_name(self):
        waiting = self.wait_here("receive.waiting/a.mdb", b"packet", 0)
        (self.to_enterprise / "a.mdb").mkdir(parents=True)
        (self.to_enterprise / "a.mdb/notes.xml").write_bytes(b"another")
        self.assert_run(self.enterprise, 1)
        self.assertEqual(waiting.read_bytes(), b"packet")

    def test_a_version_waits_although_the_share_vanished_with_the_older_one(self):
        offered, newer = self.send_two_forms()
        for number in range(400):
            (offered / f"a.mdb{number}.xml").write_bytes(b"between them")
        run = self.start_run(self.enterprise)
        wait_until((self.enterprise.receive / "sub/a.mdb.afz").exists)
        away = self.to_enterprise.rename(self.scratch / "away")
        self.assertEqual(finish(run).code, 1)
        self.assertNotIn("sub/a.mdb", files_below(self.enterprise.inbox))
        shutil.rmtree(self.to_enterprise, ignore_errors=True)
        away.rename(self.to_enterprise)
        self.assertIn("a newer version has arrived", self.assert_run(self.enterprise, 1).output)
        self.assert_run(self.enterprise)
        self.assertEqual((self.enterprise.inbox / "sub/a.mdb").read_bytes(), newer)

    def test_a_damaged_older_form_is_set_aside_when_a_newer_one_comes(self):
        """Such as a part that a cut transfer through FTP has left."""
        damaged = self.enterprise.receive / "sub/a.mdb.afz"
        damaged.parent.mkdir(parents=True)
        damaged.touch()
        os.utime(damaged, (1_700_000_000,) * 2)
        self.field.change("encoder", "none")
        self.send("sub/a.mdb")
        self.assertIn("a newer version has arrived as a.mdb", self.assert_run(self.enterprise, 1).output)
        self.assert_delivered()
        self.assert_run(self.enterprise, 0, {})

    def test_a_version_that_waits_here_is_not_older_than_what_arrives(self):
        offered, newer = self.send_two_forms()
        (self.enterprise.receive / "sub").mkdir()
        (offered / "a.mdb.afz").rename(self.enterprise.receive / "sub/a.mdb.afz")
        self.assert_newer_is_delivered(newer)

    def test_another_reference_is_refused_and_the_packet_waits_for_the_right_one(self):
        self.assert_waits_for(lambda: self.enterprise.reference.write_bytes(database(500, seed=2)),
                              lambda: self.enterprise.reference.write_bytes(self.base))

    def test_without_the_program_a_difference_is_not_delivered_as_a_packet(self):
        self.enterprise.change("encoder", "none")
        self.assert_waits_for(lambda: self.enterprise.change("xdelta_util_location", self.scratch),
                              lambda: self.enterprise.change("xdelta_util_location", ""))

    def test_without_a_reference_nothing_leaves_the_outbox(self):
        self.put(self.field, "a.mdb")
        self.field.reference.unlink()
        self.assert_trouble(self.field, {("out", "a.mdb"): "not added"}, log="Run the Tulrec application")

    def test_a_backup_stays_where_it_is_while_its_reference_is_missing(self):
        self.enterprise.change("backups", "yes")
        self.deliver("a.mdb", content=self.base + b"since")
        (self.enterprise.inbox / "a.mdb").unlink()
        self.enterprise.change("reference_path", self.enterprise.reference.rename(
            self.enterprise.reference.with_name("Base 2.AXR")))
        missing = windows(self.enterprise.reference)
        self.assertIn(f"needs the reference file {missing}; get that",
                      self.assert_ends(1, "backups", self.enterprise.settings, "--restore", "a").errors)
        self.assertEqual(files_below(self.enterprise.receive).keys(), {"Backup/a.mdb~Base 1.axd"})
        self.assertIn(f"{missing} is missing: 1 file", self.assert_ends(1, "doctor", self.enterprise.settings).output)
        self.enterprise.reference.write_bytes(self.base)
        self.assert_ends(0, "doctor", self.enterprise.settings)
        self.assert_ends(0, "backups", self.enterprise.settings, "--restore", "a")
        self.assert_run(self.enterprise)
        self.assert_delivered()

    def test_each_side_decodes_what_the_other_chose(self):
        self.enterprise.change("encoder", "zip")
        self.put(self.field, "a.mdb", content=self.base + b"up")
        self.put(self.enterprise, "b.mdb", content=self.base + b"down")
        for side in (self.field, self.enterprise, self.field):
            self.assert_run(side)
        self.assert_delivered()
