"""Folders and files that are in the way, locked or gone: what cannot be moved is named and never lost."""
import os
import shutil
import sys

import support
from support import Holder, HostTest, Mount, WAITING, arriving, files_below, finish, wait_until, windows

sys.path.append(str(support.ROOT / "tests" / "faults"))
from cases import (ACCESS_DENIED, FILE_NOT_FOUND, Fault, LOCK_VIOLATION, Mode, NOT_SUPPORTED, count_plan,  # noqa: E402
                   read_calls)


class RemoteFolderTest(HostTest):
    def test_a_file_in_place_of_the_remote_folder(self):
        self.put(self.field, "a.mdb", "sub/b.mdb")
        self.to_enterprise.rmdir()
        self.to_enterprise.write_text("a file")
        outcome = self.assert_trouble(self.field, {("out", "a.mdb"): WAITING, ("out", "sub/b.mdb"): WAITING})
        self.assertIn("Failed to transport packets between remote and local", self.field.log)
        self.assertIn(self.field.log_file.name, outcome.output)
        self.assertIn("is a file, not a folder", self.assert_trouble(self.enterprise).output)
        self.to_enterprise.unlink()
        self.assert_next_cycle_delivers()

    def vanish_during_run(self, fill, condition):
        """Outcome of a run during which the share goes away as a whole, and a file takes its name."""
        def attempt(load):
            fill(load)
            process = self.start_run(self.field)
            wait_until(condition, process)
            self.away = self.root / "away"
            self.other_places.append(self.away)
            os.rename(self.to_enterprise, self.away)
            self.to_enterprise.write_text("a file")
            outcome = finish(process)
            return files_below(self.field.send) and outcome

        outcome = self.in_time(attempt)
        self.assertEqual(outcome.code, 1, outcome)
        waiting = {("out", name) for name in files_below(self.field.send)}
        self.assertEqual({row for row, state in outcome.packets.items() if state == WAITING}, waiting)
        return outcome

    def assert_comes_back(self):
        self.to_enterprise.unlink()
        os.rename(self.away, self.to_enterprise)
        self.assert_next_cycle_delivers()

    def test_the_remote_folder_vanishes_between_two_files(self):
        self.vanish_during_run(lambda load: self.put_many(50 * load, 50_000, self.field.send),
                               lambda: len(os.listdir(self.to_enterprise)) >= 10)
        self.assertGreaterEqual(len(files_below(self.away)), 10)
        self.assert_comes_back()

    def test_the_remote_folder_vanishes_during_a_large_file(self):
        outcome = self.vanish_during_run(
            lambda load: self.put(self.field, "large.mdb", content=os.urandom(1 << 20) * (64 * load),
                                  folder=self.field.send),
            lambda: arriving(self.to_enterprise) > 1 << 20)
        self.assertEqual(outcome.packets, {("out", "large.mdb"): WAITING})
        self.assert_comes_back()
        self.assertIn("is left of a copy that ended half-way", self.enterprise.log)

    def test_a_remote_folder_that_takes_no_files_or_gives_none_away(self):
        volume = Mount(self, self.to_enterprise, "1m")
        volume.remount("ro")
        self.put(self.field, "a.mdb", "b.mdb")
        self.assert_trouble(self.field, {("out", "a.mdb"): WAITING, ("out", "b.mdb"): WAITING})
        volume.remount("rw")
        self.assert_run(self.field)
        volume.remount("ro")
        # The copies arrived; what stays is named, because it will arrive again.
        outcome = self.assert_trouble(self.enterprise)
        self.assertEqual(set(outcome.packets.values()), {"delivered"})
        self.assertEqual(outcome.output.count("stays at remote side"), 2, outcome)
        self.assertEqual(set(files_below(self.enterprise.inbox)), {"a.mdb", "b.mdb"})
        volume.remount("rw")
        self.assert_received()


class ObstacleTest(HostTest):
    def test_a_folder_test_that_fails_leaves_no_file_that_would_travel(self):
        Mount(self, self.field.send, "64k")
        self.put(self.field, "a.mdb", content=os.urandom(64 << 10), folder=self.field.send)
        self.put(self.field, "b.mdb")
        self.assert_trouble(self.field, log="folder test while writing to test file")
        self.assertEqual(files_below(self.to_enterprise).keys(), {"a.mdb"})

    def test_a_file_where_a_remote_sub_folder_belongs(self):
        self.put(self.field, "a.mdb", "before/b.mdb", "sub/c.mdb", "then/d.mdb")
        obstacle = self.to_enterprise / "sub"
        obstacle.write_text("a file")
        self.assert_trouble(self.field, {("out", "a.mdb"): "sent", ("out", "before/b.mdb"): "sent",
                                         ("out", "sub/c.mdb"): WAITING, ("out", "then/d.mdb"): "sent"})
        obstacle.unlink()
        self.assert_next_cycle_delivers()

    def test_obstacles_in_the_inbox(self):
        self.send("a.mdb", "b.mdb", "sub/c.mdb")
        folder, file = self.enterprise.inbox / "a.mdb", self.enterprise.inbox / "sub"
        folder.mkdir()
        file.write_text("a file")
        self.assert_trouble(self.enterprise, {("in", "a.mdb"): "not delivered", ("in", "b.mdb"): "delivered",
                                              ("in", "sub/c.mdb"): "not delivered"})
        folder.rmdir()
        file.unlink()
        self.assert_next_cycle_delivers()

    def test_obstacles_beside_the_receive_folder(self):
        self.enterprise.receive.with_name("receive.refused").write_bytes(b"a file")
        self.put(self.field, "a.mdb", "x.mdb_bak", "sub/b.mdb", folder=self.to_enterprise)
        outcome = self.assert_run(self.enterprise, 1, {("in", "a.mdb"): "not delivered",
                                                       ("in", "x.mdb_bak"): "not delivered",
                                                       ("in", "sub/b.mdb"): "delivered"})
        self.assertEqual(outcome.output.count("receive.refused"), 2, outcome)
        self.assert_nothing_lost()

    def test_a_packet_that_has_the_short_name_of_another_file(self):
        other = self.enterprise.inbox / "survey-2026.mdb"
        other.write_bytes(b"a week of work")
        self.send("SURV~VNE.MDB")  # what Wine makes of that
        self.assert_trouble(self.enterprise, {("in", "SURV~VNE.MDB"): "not delivered"},
                            log="SURV~VNE.MDB is the short name of another file, survey-2026.mdb.")
        self.assertEqual(other.read_bytes(), b"a week of work")
        other.rename(other.with_name("survey.mdb"))
        self.assert_next_cycle_delivers()

    def test_an_older_file_that_cannot_be_removed(self):
        older = self.enterprise.inbox / "a.mdb"
        older.write_bytes(b"older")
        older.chmod(0o444)
        self.send("a.mdb")
        outcome = self.enterprise.run()
        self.assertEqual(outcome.packets, {("in", "a.mdb"): "delivered"})
        self.assertIn(self.enterprise.log_file.name, outcome.output)
        self.assert_delivered()

    def test_an_archive_that_cannot_be_written_leaves_the_file_in_the_outbox(self):
        packet = self.put(self.field, "sub/a.mdb")
        obstacle = self.field.sent / "sub"
        obstacle.write_text("a file")
        self.assertIn("stays in outbox", self.assert_trouble(self.field).output)
        self.assertTrue(packet.exists())
        obstacle.unlink()
        self.assert_next_cycle_delivers()


class FaultTest(HostTest):
    """One call of a run fails, whatever the file system would say to it."""

    def run_with(self, plan, command="run", *options):
        log = self.scratch / "calls.log"
        log.unlink(missing_ok=True)
        # What other hosts leave among the temporary files would change the numbers of calls.
        temporary = self.scratch / "temp"
        temporary.mkdir(exist_ok=True)
        environment = {**os.environ, "ZN_FAULT": plan, "ZN_FAULT_LOG": windows(log),
                       "ZN_FAULT_TEMP": windows(temporary)}
        outcome = support.run(support.BIN / "znhost.exe", command, self.field.settings, *options,
                              program=support.BIN.parent / "tests" / "faults.exe", env=environment)
        return outcome, read_calls(log)

    def test_settings_that_cannot_be_locked(self):
        self.assert_run(self.field)  # whose calls are more
        number, = (call.number for call in self.run_with(count_plan(False))[1] if call.function == "LockFileEx")
        for error, told in ((NOT_SUPPORTED, "cannot be locked"), (LOCK_VIOLATION, "Another znhost is at work")):
            outcome, _ = self.run_with(Fault(number, Mode.FAIL, error).plan(False))
            self.assertEqual((outcome.code, told in outcome.errors), (1, True), outcome)

    def number_of_listing(self, folder, *command):
        log = self.run_with(count_plan(False), *command)[1]
        number, = (call.number for call in log if call.function == "FindFirstFileExW" and f"{folder}\\*" in call.path)
        return number

    def test_a_folder_that_cannot_be_listed_leaves_the_others(self):
        # One folder: the order of several is the file system's, and another one in a copy.
        self.put(self.field, "a.mdb", "closed/b.mdb")
        closed = windows(self.field.outbox / "closed")
        for command in (("status", "--json"), ("status",), ("list",)):
            fault = Fault(self.number_of_listing(closed, *command), Mode.FAIL, ACCESS_DENIED)
            outcome, _ = self.run_with(fault.plan(False), *command)
            self.assertEqual(outcome.code, 1, outcome)
            for told in ("closed)", "a.mdb"):
                self.assertIn(told, outcome.output)
        shutil.copytree(self.root, self.scratch / "saved")
        number = self.number_of_listing(closed)
        shutil.rmtree(self.root)
        shutil.copytree(self.scratch / "saved", self.root)
        outcome, _ = self.run_with(Fault(number, Mode.FAIL, ACCESS_DENIED).plan(False))
        self.assertEqual((outcome.code, outcome.packets),
                         (1, {("out", "closed"): "not added", ("out", "a.mdb"): "sent"}))
        self.assertIn(f"({closed})", outcome.output)
        self.assert_next_cycle_delivers()

    def test_a_packet_that_is_received_while_an_installation_is_examined(self):
        packet = windows(self.put(self.enterprise, "a.mdb", folder=self.to_field))
        log = self.run_with(count_plan(False), "doctor")[1]
        number, = (call.number for call in log if call.function == "CreateFileW" and call.path.endswith(packet))
        outcome, _ = self.run_with(Fault(number, Mode.FAIL, FILE_NOT_FOUND).plan(False), "doctor")
        self.assertEqual(outcome.code, 0, outcome)
        self.assertIn("offers 1 packet", outcome.output)


class LockedFileTest(HostTest):
    """Another program holds a file open; without sharing it, where nothing else is said."""

    def test_in_the_outbox(self):
        held = [Holder(self, self.put(self.field, "held.mdb")),
                Holder(self, self.put(self.field, "written.mdb"), "write")]
        self.put(self.field, "free.mdb")
        outcome = self.assert_trouble(self.field, {("out", "held.mdb"): "not added", ("out", "free.mdb"): "sent",
                                                   ("out", "written.mdb"): "not added"})
        self.assertIn(f"({windows(self.field.outbox / 'held.mdb')})", outcome.output)
        for holder in held:
            holder.release()
        self.assert_next_cycle_delivers()

    def test_a_version_that_is_saved_while_an_older_one_is_added_is_sent_next(self):
        def attempt(load):
            packet = self.put(self.field, "a.mdb", content=os.urandom(10_000_000) * load)
            newer = self.root / "newer"
            newer.write_bytes(b"newer")
            process = self.start_run(self.field)
            # From here on the older version is open; before, it would be replaced by its owner alone.
            wait_until(lambda: arriving(self.field.send) >= 0, process)
            newer.replace(packet)
            outcome = finish(process)
            return outcome if "another version was saved" in outcome.output else None

        self.in_time(attempt)
        for side in (self.field, self.enterprise):
            self.assert_run(side)
        self.assertEqual((self.enterprise.inbox / "a.mdb").read_bytes(), b"newer")

    def test_a_version_that_is_saved_while_an_older_one_leaves_the_outbox_is_sent_next(self):
        for sent in (self.field.sent, ""):
            with self.subTest(sent):
                self.field.change("sent", sent)
                packet = self.put(self.field, "sub/a.mdb")
                newer = self.root / "newer"
                newer.write_bytes(b"newer")
                reader = Holder(self, packet, "read")
                process = self.start_run(self.field)
                # Here it leaves the outbox.
                wait_until(((sent or self.field.send) / "sub").exists, process)
                wait_until((self.field.send / "sub/a.mdb").exists, process)
                newer.replace(packet)
                finish(process)
                reader.release()
                for side in (self.enterprise, self.field, self.enterprise):
                    self.assert_run(side)
                self.assertEqual((self.enterprise.inbox / "sub/a.mdb").read_bytes(), b"newer")
                shutil.rmtree(self.field.send)

    def test_in_the_inbox_where_the_older_file_stays(self):
        older = self.enterprise.inbox / "held.mdb"
        older.write_bytes(b"older")
        held = Holder(self, older)
        self.send("held.mdb", "free.mdb")
        self.assert_trouble(self.enterprise, {("in", "held.mdb"): "not delivered", ("in", "free.mdb"): "delivered"})
        self.assertEqual(older.read_bytes(), b"older")
        held.release()
        self.assert_next_cycle_delivers()
