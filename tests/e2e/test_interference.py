"""Somebody else takes files away, or puts some there, in the middle of a run: nothing untrue is told of them, and what
is newer stays."""
import os
import shutil
import time

from support import Holder, HostTest, finish, wait_until


class QuarantineTest(HostTest):
    """As by a scanner that takes what it suspects."""

    def take_in_run(self, side, path, condition):
        """Outcome of a run in the middle of which a file is taken away."""
        process = self.start_run(side)
        wait_until(condition, process)
        os.rename(path(), self.scratch / "quarantine")
        return finish(process)

    def test_a_received_file_that_is_taken_was_not_delivered(self):
        for older in (b"last week's", None):
            with self.subTest(older=older):
                self.put_many(60, 50_000, self.to_enterprise)
                if older:
                    (self.enterprise.inbox / "9.mdb").write_bytes(older)
                received = self.enterprise.receive / "9.mdb"
                wait_for = self.enterprise.inbox / "10.mdb"
                outcome = self.take_in_run(self.enterprise, lambda path=received: path, wait_for.exists)
                self.assertEqual((outcome.code, outcome.packets["in", "9.mdb"]), (1, "not delivered"), outcome)
                self.assertEqual(outcome.output.count("it is not in the receive folder any more"), 1, outcome)
                self.assertIn("59 delivered, 1 left behind", outcome.output)
                if older:
                    self.assertEqual((self.enterprise.inbox / "9.mdb").read_bytes(), older)
                shutil.rmtree(self.enterprise.inbox)
                self.enterprise.inbox.mkdir()

    def test_a_packet_that_is_taken_before_it_is_sent_is_told(self):
        first = []

        def waits():
            first[:] = sorted(self.field.send.glob("*.mdb"))
            return len(first) > 2

        self.put_many(60, 50_000, self.field.outbox)
        outcome = self.take_in_run(self.field, lambda: first[0], waits)
        self.assertEqual((outcome.code, outcome.packets["out", first[0].name]), (1, "gone from send folder"), outcome)
        self.assertIn("59 sent, 0 delivered, 1 left behind", outcome.output)
        self.assert_run(self.enterprise)
        self.put_many(60, 50_000, self.field.send)
        last = self.field.send / "9.mdb"
        outcome = self.take_in_run(self.field, lambda: last, (self.to_enterprise / "10.mdb").exists)
        self.assertEqual((outcome.code, outcome.packets["out", last.name]), (1, "gone from send folder"), outcome)
        self.assertIn("9.mdb before it was sent.", self.field.log)

    def test_what_stays_with_a_share_that_goes_away_is_told(self):
        def attempt(load):
            self.put_many(50 * load, 50_000, self.to_enterprise)
            process = self.start_run(self.enterprise)
            wait_until(lambda: len(os.listdir(self.enterprise.receive)) >= 10, process)
            away = self.scratch / f"away-{load}"
            self.other_places = [away]
            self.to_enterprise.rename(away)
            outcome = finish(process)
            return [path.name for path in away.iterdir()] and (away, outcome)

        away, outcome = self.in_time(attempt)
        self.assertEqual(outcome.code, 1, outcome)
        stay = {name for (_, name), state in outcome.packets.items() if state == "stays at remote side"}
        # One can be copied and not deleted yet.
        self.assertLessEqual(len({path.name for path in away.iterdir()} ^ stay), 1, outcome)
        self.assertGreater(len(stay), 1)


class ArrivalTest(HostTest):
    """Another program, or the other side, puts files where a run is at work."""

    def arrive(self, path, content, age):
        """A file appears whole."""
        made = self.scratch / "made"
        made.write_bytes(content)
        os.utime(made, (time.time() - age,) * 2)
        os.rename(made, path)

    def assert_newest_is_kept(self, forms, late):
        """A version comes into the receive folder, in which the other side sends itself, while its files are judged: many
        of them came in two forms. forms: those of one packet that were there; late: the name of the newest one."""
        def attempt(load):
            receive = self.enterprise.receive
            for number in range(100 * load):
                self.arrive(receive / f"a{number}.mdb", b"older", 500)
                self.arrive(receive / f"a{number}.mdb~Base.axd", b"newer", 400)
            for age, (name, content) in enumerate(forms):
                self.arrive(receive / name, content, 300 - age)
            refused = receive.with_name("receive.refused")
            process = self.start_run(self.enterprise)
            wait_until(lambda: refused.is_dir() and len(os.listdir(refused)) > 5, process)
            judged = (refused / forms[0][0]).exists()
            self.arrive(receive / late, b"newest", 10)
            finish(process)
            return not judged and (self.enterprise, refused)

        enterprise, refused = self.in_time(attempt)
        enterprise.run()
        places = [folder / late for folder in (enterprise.inbox, enterprise.receive)]
        self.assertTrue(any(path.is_file() and path.read_bytes() == b"newest" for path in places),
                        [path.name for path in refused.glob("zz*")])

    def test_a_version_that_arrives_while_others_are_judged_is_the_newest(self):
        self.assert_newest_is_kept([("zz.mdb~Base.axd", b"a difference")], "zz.mdb")
        self.install(self.scratch / "other")
        self.assert_newest_is_kept([("zz.mdb", b"old"), ("zz.mdb~Base.axd", b"a difference")], "zz.mdb")

    def test_what_is_being_copied_to_the_outbox_is_no_packet_yet(self):
        coming = self.field.outbox / "~12-35.arriving"
        coming.write_bytes(b"more of it comes")
        Holder(self, coming)
        self.assert_run(self.field, 0, {})
        self.assertTrue(coming.exists())


class LetterCaseTest(HostTest):
    def test_two_packets_of_one_name_both_stay(self):
        names = {"a.mdb", "A.mdb", "sub/b.mdb", "SUB/b.mdb"}
        self.put(self.field, *names, "SUB/c.mdb")
        outcome = self.assert_trouble(self.field, {**{("out", name): "not added" for name in names},
                                                   ("out", "SUB/c.mdb"): "sent"})
        self.assertEqual(outcome.output.count("but for the case of letters"), 4, outcome)
        self.assertIn("but for the case of letters", self.assert_ends(1, "run", self.field.settings, "--dry-run").output)
        (self.field.outbox / "A.mdb").rename(self.field.outbox / "other.mdb")
        self.assertEqual(self.field.run().packets["out", "a.mdb"], "sent")
