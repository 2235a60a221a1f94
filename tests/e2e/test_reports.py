"""What runs tell users and programs, and what is remembered of them."""
import calendar
import contextlib
import json
import os
import shutil
import signal
import time

from objects import JsonTest
from support import Holder, HostTest, Mount, WAITING, files_below, wait_until, windows


def tree(root):
    """Everything that a run could change: names, contents, times and rights."""
    files = files_below(root)
    return {str(path.relative_to(root)): (files.get(str(path.relative_to(root))), path.stat().st_mtime_ns,
                                          path.stat().st_mode) for path in root.rglob("*")}


class ReportTest(JsonTest):
    def test_objects_of_a_run(self):
        self.field.change("encoder", "zip")
        self.put(self.field, "Größe/日本 5 µm.mdb", content=bytes(20_000))
        self.put(self.field, "empty.mdb", content=b"")
        *packets, run = self.json(1, "run", self.field)
        by_name = {packet["packet"]: packet for packet in packets}
        sent = by_name["Größe\\日本 5 µm.mdb"]
        self.assertEqual([sent[key] for key in ("direction", "state", "size", "reason")], ["out", "sent", 20_000, None])
        self.assertEqual(sent["travel_size"], self.to_enterprise.joinpath("Größe/日本 5 µm.mdb.afz").stat().st_size)
        self.assertEqual(by_name["empty.mdb"]["state"], "not_added")
        self.assertIn("it is empty", by_name["empty.mdb"]["reason"])
        self.assertEqual([run[key] for key in ("result", "sent", "delivered", "left", "dry_run", "failure")],
                         ["incomplete", 1, 0, 1, False, None])
        ended = calendar.timegm(time.strptime(run["ended"], "%Y-%m-%dT%H:%M:%SZ"))
        self.assertLess(abs(time.time() - ended), 600)
        *packets, run = self.json(0, "run", self.enterprise)
        self.assertEqual([(packet["direction"], packet["state"]) for packet in packets], [("in", "delivered")])
        self.assertEqual((run["result"], run["delivered"]), ("complete", 1))

    def test_objects_of_bad_settings(self):
        self.field.change("role", "foo")
        [run] = self.json(2, "run", self.field)
        self.assertEqual(run["result"], "no_cycle")
        [status] = self.json(2, "status", self.field)
        self.assertEqual((status["last_run"], status["waiting"]), (None, []))
        for told in (run, status):
            self.assertIn("[host] role = foo", told["failure"])

    def test_a_failed_transfer_in_objects_and_in_quiet(self):
        self.field.change("remote_send", self.scratch / "file")
        (self.scratch / "file").write_bytes(b"in the way")
        self.put(self.field, "a.mdb")
        packet, run = self.json(1, "run", self.field)
        self.assertEqual((packet["state"], run["result"]), ("waiting", "incomplete"))
        self.assertTrue(run["failure"])
        quiet = self.assert_ends(1, "run", self.field.settings, "--quiet")
        self.assertEqual(quiet.packets, {("out", "a.mdb"): WAITING})
        self.assertIn("The transfer failed", quiet.output)

    def test_quiet_says_nothing_of_what_went_well(self):
        self.put(self.field, "a.mdb")
        self.assertEqual(self.assert_ends(0, "run", self.field.settings, "--quiet").output, "")
        self.assertIn("excludes", self.assert_ends(2, "run", self.field.settings, "--quiet", "--json").errors)

    def test_a_dry_run_tells_and_changes_nothing(self):
        self.put(self.field, "late.mdb")
        self.field.change("remote_send", self.scratch / "file")
        (self.scratch / "file").write_bytes(b"in the way")
        self.assert_run(self.field, 1)
        self.put(self.field, "a.mdb", "sub/b.xml")
        self.put(self.field, "late.mdb.afz")
        self.put(self.enterprise, "c.mdb", folder=self.to_field)
        self.put(self.enterprise, "d.mdb", folder=self.field.receive)
        self.field.log_file.unlink(missing_ok=True)
        (self.field.receive / "RWD_TestFile.txt").write_bytes(b"x")
        before = tree(self.root)
        outcome = self.assert_ends(1, "run", self.field.settings, "--dry-run")
        expected = {("out", "a.mdb"): "would be sent", ("out", "sub/b.xml"): "would be sent",
                    ("out", "late.mdb"): "would be sent", ("out", "late.mdb.afz"): "not added",
                    ("in", "c.mdb"): "would be received and delivered", ("in", "d.mdb"): "would be delivered",
                    ("in", "RWD_TestFile.txt"): "not delivered"}
        self.assertEqual(outcome.packets, expected)
        self.assertIn("A run would send 3, deliver 2 and leave 2 behind", outcome.output)
        *packets, run = self.json(1, "run", self.field, "--dry-run")
        self.assertEqual(len(packets), len(expected))
        self.assertEqual((run["dry_run"], run["sent"], run["delivered"], run["left"]), (True, 3, 2, 2))
        self.assertEqual(tree(self.root), before)

    def test_a_dry_run_tells_what_it_cannot_know(self):
        self.to_field.rmdir()
        self.put(self.field, "a.mdb")
        outcome = self.assert_ends(0, "run", self.field.settings, "--dry-run")
        self.assertIn(f"The remote folder {windows(self.to_field)} is not there, or cannot be seen.", outcome.output)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): "would be sent"})
        self.assert_run(self.field)
        for folder in ("nowhere\\to-field", "Q:\\to-field", "\\\\nohost\\share\\to-field"):
            self.field.change("remote_receive", folder)
            for options in (), ("--dry-run",):
                *_, run = self.json(1, "run", self.field, *options)
                self.assertIn(f"{folder} is not there, or cannot be seen.", run["failure"])
        self.assertIn("would fail: The remote folder", self.assert_ends(1, "run", self.field.settings, "--dry-run").output)


class LogTest(HostTest):
    """A file that is left of a copy is reported by each run."""

    def run_with_a_report(self, count=1):
        leftover = self.field.send / "~1-2.arriving"
        leftover.parent.mkdir(exist_ok=True)
        leftover.write_bytes(b"left")
        for _ in range(count):
            self.assert_run(self.field)

    def test_a_full_log_is_set_aside_and_the_oldest_go(self):
        self.field.change("max_kilobytes", "1")
        self.field.change("kept_files", "2")
        self.run_with_a_report(14)
        logs = sorted(path.name for path in self.root.glob("field*.log"))
        self.assertEqual(len(logs), 3, logs)
        self.assertNotIn("field.1.log", logs)

    def test_a_disk_that_is_full_of_logs_ends_no_run(self):
        volume = Mount(self, self.root / "logs", "64k").folder
        (self.root / "logs" / "field.log").write_bytes(b"")
        self.field.change("file", volume / "field.log")
        with contextlib.suppress(OSError):
            (volume / "full").write_bytes(bytes(100_000))
        self.put(self.field, "a.mdb")
        self.run_with_a_report()
        self.assert_received()


class StatusTest(JsonTest):
    def status(self, code=0):
        [status] = self.json(code, "status", self.field)
        return status

    def test_the_last_run_and_what_waits(self):
        self.assertIsNone(self.status()["last_run"])
        self.put(self.field, "new.mdb", "old.mdb")
        os.utime(self.field.outbox / "old.mdb", (time.time() - 3 * 86_400,) * 2)
        self.assertEqual([packet["packet"] for packet in self.status()["waiting"]], ["old.mdb", "new.mdb"])
        self.assertIn("the oldest saved 3 d ago", self.assert_ends(0, "status", self.field.settings).output)
        left = self.put(self.field, "left.mdb", folder=self.field.send.with_name("send.older"))
        self.assertIn(("send.older", "left.mdb"), [(packet["place"], packet["packet"]) for packet in self.status()["waiting"]])
        self.assertIn("send folder: 1 packet,", self.assert_ends(0, "list", self.field.settings).output)
        left.unlink()
        self.ledger.pop()
        self.put(self.field, "bad.afz")
        self.assert_run(self.field, 1)
        status = self.status(1)
        self.assertEqual((status["last_run"]["result"], status["last_run"]["sent"]), ("incomplete", 2))
        self.assertEqual([packet["packet"] for packet in status["waiting"]], ["bad.afz"])
        text = self.assert_ends(1, "status", self.field.settings)
        self.assertEqual(text.packets, {("out", "bad.afz"): "not added"})
        (self.field.outbox / "bad.afz").unlink()
        self.ledger.pop()
        self.assert_run(self.field)
        self.assertEqual(self.status()["last_run"]["result"], "complete")

    def test_every_end_of_a_run_has_its_words(self):
        self.send("a.mdb")
        path = self.field.send.with_name("send.status")
        good = path.read_text(encoding="utf-8")
        self.assertIn('"result":"complete"', good)
        for result, words, code in (("complete", "complete", 0), ("stopped", "stopped by the user", 1),
                                    ("no_cycle", "no cycle took place", 1)):
            path.write_text(good.replace('"result":"complete"', f'"result":"{result}"').replace(
                '"messages":[]', '"messages":["what was shown"]'), encoding="utf-8")
            self.assertIn(f", {words}\n", self.assert_ends(code, "status", self.field.settings).output)
            last = self.status(code)["last_run"]
            self.assertEqual((last["result"], last["messages"]), (result, ["what was shown"]))

    def test_a_run_that_ended_before_its_cycle(self):
        good = self.field.settings.read_text(encoding="utf-8")
        for options, code, result in (((), 1, "no_cycle"), (("--every", "1s"), 1, "no_cycle"), (("--dry-run",), 0, "complete")):
            self.assert_run(self.field)
            self.field.change("encoder", "zip")
            self.field.change("zip_util_location", self.scratch)
            self.assert_ends(2, "run", self.field.settings, *options)
            self.field.settings.write_text(good, encoding="utf-8")
            last = self.status(code)["last_run"]
            self.assertEqual((last["result"], "there is no Zip.exe" in (last["failure"] or "")), (result, code == 1))

    def test_runs_that_are_under_way_killed_or_refused(self):
        def killed(load):
            self.put_many(40 * load, 50_000, self.field.send)
            process = self.start_run(self.field)
            wait_until(lambda: len(os.listdir(self.to_enterprise)) >= 3, process)
            process.send_signal(signal.SIGSTOP)
            during = self.status()
            self.assert_ends(1, "run", self.field.settings)  # does not take the other one's place
            after = self.status()
            # As of a dead run whose number another process has now, whoever that belongs to.
            shutil.copy(self.field.send.with_name("send.status"), self.enterprise.send.with_name("send.status"))
            [other] = self.json(1, "status", self.enterprise)
            self.enterprise.send.with_name("send.lock").mkdir()
            [unlocked] = self.json(0, "status", self.enterprise)
            process.kill()
            process.send_signal(signal.SIGCONT)
            process.wait()
            self.assertEqual((other["under_way"], unlocked["under_way"]), (False, True))
            return during["under_way"] and after["under_way"]

        self.assertTrue(self.in_time(killed))
        status = self.status(1)
        self.assertEqual((status["under_way"], status["last_run"]["ended"]), (False, None))
        self.assertIn("ended in the middle", self.assert_ends(1, "status", self.field.settings).output)
        self.assert_next_cycle_delivers()

    def test_a_cycle_or_its_end_that_is_overdue(self):
        self.send("a.mdb")
        path = self.field.send.with_name("send.status")
        good = json.loads(path.read_text(encoding="utf-8"))
        self.assertIsNone(good.pop("interval"))
        # Hours since its end; less than none where the clock was wrong meanwhile.
        for interval, hours, code in (({}, 24, 0), (None, 24, 0), (1, 1, 0), (1, 1.5, 1), (36_000, 11, 0), (36_000, 11.5, 1),
                                      (None, -24, 0), (1, -1, 0), (1, -1.5, 1)):
            ended = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(time.time() - hours * 3600))
            path.write_text(json.dumps(good | {"ended": ended} | ({} if interval == {} else {"interval": interval})))
            with self.subTest(interval=interval, hours=hours):
                self.assertEqual(self.status(code)["overdue"], bool(code))
                for command in "status", "doctor":
                    outcome = self.assert_ends(code, command, self.field.settings)
                    self.assertEqual("The next cycle of the loop is overdue" in outcome.output, bool(code), outcome)
        lock = self.field.send.with_name("send.lock")
        lock.write_bytes(b"")
        Holder(self, lock)
        for hours, code in ((23, 0), (25, 1)):
            started = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(time.time() - hours * 3600))
            path.write_text(json.dumps(good | {"started": started, "ended": None, "result": "running"}))
            with self.subTest(hours=hours):
                self.assertEqual([self.status(code)[key] for key in ("under_way", "overdue")], [True, bool(code)])
                for command in "status", "doctor":
                    outcome = self.assert_ends(code, command, self.field.settings)
                    self.assertEqual("at work for more than a day" in outcome.output, bool(code), outcome)

    def test_a_record_that_cannot_be_replaced_tells_of_no_earlier_run(self):
        volume = Mount(self, self.root / "volume", "300k").folder
        self.field.send = volume / "send"
        self.field.change("send", self.field.send)
        self.send("a.mdb")
        holder = Holder(self, volume / "send.status", "as a writer")
        self.assert_run(self.field)
        holder.release()
        last = self.status()["last_run"]
        self.assertEqual([last[key] for key in ("result", "sent", "packets")], ["complete", None, None])
        self.send("b.mdb")
        with contextlib.suppress(OSError), (volume / "full").open("wb", buffering=0) as file:
            while True:
                file.write(bytes(512))
        self.put(self.field, "c.mdb")
        self.assert_run(self.field, 1)
        text = self.assert_ends(1, "status", self.field.settings).output
        self.assertIn(", incomplete\nfailed: what became of its packets could not be remembered: ", text)
        self.assertNotIn("0 sent", text)
        # Why there was no cycle takes more room than there is.
        self.field.change("outbox", "\\".join(600 * ["nowhere"]))
        self.assert_run(self.field, 2)
        self.assertIsNone(self.status()["last_run"])

    def assert_not_known(self, path):
        status = self.status(1)
        self.assertIsNone(status["last_run"])
        self.assertIn(f"{windows(path)} cannot be read", status["failure"])
        text = self.assert_ends(1, "status", self.field.settings)
        self.assertIn("Last run: not known\n", text.output)
        self.assertIn(f"{windows(path)} cannot be read", text.errors)
        self.assertIn(f"{windows(path)} cannot be read", self.assert_ends(1, "doctor", self.field.settings).output)

    def test_what_cannot_be_remembered_hinders_nothing(self):
        path = self.field.send.with_name("send.status")
        self.send("a.mdb")
        path.write_bytes(path.read_bytes()[:-20])
        self.assert_not_known(path)
        path.unlink()
        self.assertEqual([self.status()[key] for key in ("last_run", "failure")], [None, None])
        path.mkdir()
        (path / "in the way").write_bytes(b"")
        self.deliver("b.mdb")
        self.assert_not_known(path)
