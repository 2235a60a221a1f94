"""Folders and files that are in the way, locked or gone: what cannot be moved is named and never lost."""
import os
import shutil

from support import Holder, HostTest, Mount, files_below, finish, wait_until, windows

WAITING = "waiting in send folder"


class RemoteFolderTest(HostTest):
    def test_a_remote_folder_that_is_gone_is_made_anew(self):
        self.put(self.field, "a.mdb")
        shutil.rmtree(self.root / "share")
        self.assert_next_cycle_delivers()

    def test_a_file_in_place_of_the_remote_folder(self):
        self.put(self.field, "a.mdb")
        self.put(self.field, "sub/b.mdb")
        self.to_enterprise.rmdir()
        self.to_enterprise.write_text("a file")
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): WAITING, ("out", "sub/b.mdb"): WAITING})
        self.assertIn("Failed to transport packets between remote and local", self.field.log)
        self.assertIn(self.field.log_file.name, outcome.output)
        outcome = self.assert_run(self.enterprise, 1)
        self.assertIn("is a file, not a folder", outcome.output)
        self.assert_nothing_lost()
        self.to_enterprise.unlink()
        self.assert_next_cycle_delivers()

    def vanish(self):
        """The share goes away as a whole, and a file takes its name."""
        self.away = self.root / "away"
        os.rename(self.to_enterprise, self.away)
        self.to_enterprise.write_text("a file")
        self.other_places.append(self.away)

    def come_back(self):
        self.to_enterprise.unlink()
        os.rename(self.away, self.to_enterprise)

    def vanish_during_run(self, condition):
        """What the run said; None when it had nothing left to send."""
        process = self.start_run(self.field)
        wait_until(condition)
        self.vanish()
        outcome = finish(process)
        if not files_below(self.field.send):
            return None
        self.assertEqual(outcome.code, 1, outcome)
        return outcome

    def test_the_remote_folder_vanishes_between_two_files(self):
        def attempt(load):
            for number in range(150 * load):
                self.put(self.field, f"{number}.mdb", os.urandom(50_000), self.field.send)
            outcome = self.vanish_during_run(lambda: len(os.listdir(self.to_enterprise)) >= 10)
            if not outcome:
                return False
            waiting = {("out", name) for name in files_below(self.field.send)}
            self.assertEqual({row for row, state in outcome.packets.items() if state == WAITING}, waiting)
            self.assertGreaterEqual(len(files_below(self.away)), 10)
            self.assert_nothing_lost()
            self.come_back()
            self.assert_next_cycle_delivers()
            return True

        self.in_time(attempt)

    def test_the_remote_folder_vanishes_during_a_large_file(self):
        def attempt(load):
            self.put(self.field, "large.mdb", os.urandom(1 << 20) * (256 * load), self.field.send)
            copy = self.to_enterprise / "large.mdb"
            outcome = self.vanish_during_run(lambda: copy.exists() and copy.stat().st_size > 1 << 20)
            if not outcome:
                return False
            self.assertEqual(outcome.packets, {("out", "large.mdb"): WAITING})
            self.assert_nothing_lost()
            self.come_back()
            self.assert_next_cycle_delivers()
            return True

        self.in_time(attempt)

    def test_a_remote_folder_that_takes_no_files(self):
        Mount(self, self.to_enterprise, "1m").remount("ro")
        self.put(self.field, "a.mdb")
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): WAITING})
        self.assert_nothing_lost()

    def test_a_remote_folder_that_gives_no_files_away(self):
        volume = Mount(self, self.to_enterprise, "1m")
        self.put(self.field, "a.mdb")
        self.put(self.field, "b.mdb")
        self.assert_run(self.field, 0)
        volume.remount("ro")
        outcome = self.assert_run(self.enterprise, 1)
        # The copies arrived; what stays is named, because it will arrive again.
        self.assertEqual(set(outcome.packets.values()), {"delivered"})
        self.assertEqual(outcome.output.count("stays at remote side"), 2, outcome)
        self.assertEqual(set(files_below(self.enterprise.inbox)), {"a.mdb", "b.mdb"})
        volume.remount("rw")
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()


class ObstacleTest(HostTest):
    def test_a_file_where_a_remote_sub_folder_belongs(self):
        self.put(self.field, "a.mdb")
        self.put(self.field, "sub/b.mdb")
        obstacle = self.to_enterprise / "sub"
        obstacle.write_text("a file")
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): "sent", ("out", "sub/b.mdb"): WAITING})
        self.assert_nothing_lost()
        obstacle.unlink()
        self.assert_next_cycle_delivers()

    def test_a_file_where_a_folder_of_the_inbox_belongs(self):
        self.put(self.field, "a.mdb")
        self.put(self.field, "sub/b.mdb")
        self.assert_run(self.field, 0)
        obstacle = self.enterprise.inbox / "sub"
        obstacle.write_text("a file")
        outcome = self.assert_run(self.enterprise, 1)
        self.assertEqual(outcome.packets, {("in", "a.mdb"): "delivered", ("in", "sub/b.mdb"): "not delivered"})
        self.assert_nothing_lost()
        obstacle.unlink()
        self.assert_next_cycle_delivers()

    def test_a_folder_where_a_file_of_the_inbox_belongs(self):
        self.put(self.field, "a.mdb")
        self.put(self.field, "b.mdb")
        self.assert_run(self.field, 0)
        obstacle = self.enterprise.inbox / "a.mdb"
        obstacle.mkdir()
        outcome = self.assert_run(self.enterprise, 1)
        self.assertEqual(outcome.packets, {("in", "a.mdb"): "not delivered", ("in", "b.mdb"): "delivered"})
        self.assert_nothing_lost()
        obstacle.rmdir()
        self.assert_next_cycle_delivers()

    def test_an_older_file_that_cannot_be_removed(self):
        older = self.enterprise.inbox / "a.mdb"
        older.write_bytes(b"older")
        older.chmod(0o444)
        self.put(self.field, "a.mdb")
        self.assert_run(self.field, 0)
        outcome = self.enterprise.run()
        self.assertEqual(outcome.packets, {("in", "a.mdb"): "delivered"})
        self.assertIn(self.enterprise.log_file.name, outcome.output)
        self.assert_delivered()

    def test_an_archive_that_cannot_be_written_leaves_the_file_in_the_outbox(self):
        self.put(self.field, "sub/a.mdb")
        obstacle = self.field.sent / "sub"
        obstacle.write_text("a file")
        outcome = self.assert_run(self.field, 1)
        self.assertIn("stays in outbox", outcome.output)
        self.assertTrue((self.field.outbox / "sub/a.mdb").exists())
        obstacle.unlink()
        self.assert_next_cycle_delivers()


class LockedFileTest(HostTest):
    """Another program holds a file open; without sharing it, where nothing else is said."""

    def test_in_the_outbox(self):
        held = [Holder(self, self.put(self.field, "held.mdb")),
                Holder(self, self.put(self.field, "written.mdb"), "write")]
        self.put(self.field, "free.mdb")
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "held.mdb"): "not added", ("out", "free.mdb"): "sent",
                                           ("out", "written.mdb"): "not added"})
        self.assertIn(f"({windows(self.field.outbox / 'held.mdb')})", outcome.output)
        for holder in held:
            holder.release()
        self.assert_next_cycle_delivers()

    def test_in_the_inbox_where_the_older_file_stays(self):
        older = self.enterprise.inbox / "held.mdb"
        older.write_bytes(b"older")
        held = Holder(self, older)
        self.put(self.field, "held.mdb")
        self.put(self.field, "free.mdb")
        self.assert_run(self.field, 0)
        outcome = self.assert_run(self.enterprise, 1)
        self.assertEqual(outcome.packets, {("in", "held.mdb"): "not delivered", ("in", "free.mdb"): "delivered"})
        self.assertEqual(older.read_bytes(), b"older")
        self.assert_nothing_lost()
        held.release()
        self.assert_next_cycle_delivers()
