"""Cycles that come again and again."""
import json
import os
import re
import signal
import subprocess

import support
from objects import JsonTest, objects_of
from support import (command, count_below, ctrl_c_once, files_below, finish, own_program, processes_naming, run, slow, start,
                     use_on_terminal, wait_until, windows)

CYCLES_OF_A_DAY = 24 * 60


def work_folders():
    return sorted(path for folder in support.temporary_folders() for path in folder.glob("znhost-*"))


class LoopTest(JsonTest):
    def loop(self, *options, every="1s"):
        """A loop that ends with the test at the latest."""
        process = start("run", self.field.settings, "--every", every, *options)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    @staticmethod
    def said(process):
        """What a loop has said so far."""
        return [os.pread(file.fileno(), 1_000_000, 0).decode() for file in process.outputs.values()]

    def wait_for(self, process, text):
        wait_until(lambda: text in "".join(self.said(process)), process)
        self.assertIn(text, "".join(self.said(process)))

    def stopped(self, process, number=signal.SIGINT):
        process.send_signal(number)
        return finish(process)

    def test_a_line_for_each_cycle_until_ctrl_c(self):
        process = self.loop()
        for name in ("a.mdb", "b.mdb"):
            self.put(self.field, name)
            wait_until(lambda: (self.to_enterprise / name).exists(), process)
        self.wait_for(process, "0 sent")
        outcome = self.stopped(process)
        self.assertEqual(outcome.code, 0, outcome)
        lines = outcome.output.splitlines()
        self.assertEqual(sum("1 sent, 0 delivered, 0 left behind" in line for line in lines), 2, outcome)
        for line in lines:
            self.assertRegex(line, r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d  \d+ sent, ")
        self.assert_received()

    def test_settings_are_read_anew_and_bad_ones_end_no_loop(self):
        good = self.field.settings.read_text(encoding="utf-8")
        process = self.loop()
        self.wait_for(process, "0 sent")
        self.field.change("role", "foo")
        self.wait_for(process, "no cycle: " + windows(self.field.settings) + ": [host] role = foo")
        other = self.scratch / "other.ini"
        other.write_text(good.replace("to-enterprise", "elsewhere"), encoding="utf-8")
        other.replace(self.field.settings)  # as editors do
        self.put(self.field, "a.mdb")
        wait_until(lambda: (self.root / "share" / "elsewhere" / "a.mdb").exists(), process)
        self.assertIsNone(process.poll())
        self.stopped(process)

    def test_a_log_that_cannot_be_written_any_more_keeps_no_packet(self):
        logs = self.root / "logs"
        self.field.change("log.file", logs / "field.log")
        process = self.loop(every="2s")
        self.put(self.field, "a.mdb")
        self.wait_for(process, "1 sent")
        logs.rename(self.scratch / "away")
        logs.touch()
        self.put(self.field, "b.mdb")
        complaint = "[log] file = " + windows(logs / "field.log") + ": the log cannot be written"
        wait_until((self.to_enterprise / "b.mdb").exists, process)
        self.wait_for(process, complaint)
        self.assertIn(complaint, self.assert_ends(1, "status", self.field.settings).output)
        outcome = self.stopped(process)
        self.assertEqual(outcome.code, 1, outcome)
        self.assertNotIn("no cycle", outcome.output)
        self.assert_received()

    def test_bad_settings_at_the_beginning_and_bad_intervals(self):
        self.field.change("outbox", "nowhere")
        self.assertIn("no such folder", self.assert_ends(2, "run", self.field.settings, "--every", "1s").errors)
        [told] = self.json(2, "run", self.field, "--every", "1s")
        self.assertEqual((told["type"], told["result"]), ("run", "no_cycle"))
        self.assertIn("no such folder", told["failure"])
        for every in ("0s", "10", "ten"):
            self.assertIn("an interval is", self.assert_ends(2, "run", self.field.settings, "--every", every).errors)
        self.assert_ends(2, "run", self.field.settings, "--every", "1s", "--dry-run")

    def test_objects_and_quiet(self):
        self.put(self.field, "bad.afz")
        process = self.loop("--json")
        self.wait_for(process, '"type":"run"')
        outcome = self.stopped(process)
        self.assertEqual(outcome.code, 1, outcome)
        packet, loop_run, *_ = objects_of(outcome)
        self.assertEqual((packet["type"], loop_run["type"], loop_run["interval"]), ("packet", "run", 1))
        (self.field.outbox / "bad.afz").unlink()
        process = self.loop("--quiet")
        self.put(self.field, "a.mdb")
        wait_until(lambda: (self.to_enterprise / "a.mdb").exists(), process)
        self.put(self.field, "bad.afz")
        self.wait_for(process, "bad.afz: not added")
        self.assertNotIn("1 sent, 0 delivered, 0 left behind", self.stopped(process).output)

    def test_a_stop_in_the_middle_of_a_cycle(self):
        program = own_program(self, "end_session")

        def stopped_by(stop):
            def attempt(load):
                self.put_many(40 * load, 50_000, self.field.send)
                process = self.loop(every="1h")
                wait_until(lambda: len(os.listdir(self.to_enterprise)) >= 3, process)
                if not stop(process):
                    self.stopped(process)
                    return None
                outcome = finish(process)
                return files_below(self.field.send) and outcome
            return self.in_time(attempt)

        def press_ctrl_c(process):
            process.send_signal(signal.SIGINT)
            return True

        def log_off(_):
            return run("znhost session", windows(self.field.settings), program=program).code == 0

        for stop in (press_ctrl_c, log_off):
            self.install(self.scratch / stop.__name__)
            outcome = stopped_by(stop)
            self.assertEqual(outcome.code, 1, outcome)
            self.assertIn("stopped by the user", outcome.output)
            self.assert_next_cycle_delivers()

    def test_a_click_into_the_console_stops_no_loop(self):
        outcome = use_on_terminal([support.BIN / "znhost.exe", "run", self.field.settings, "--every", "1h"],
                                  ctrl_c_once(self.field.send.with_name("send.status").exists),
                                  program=own_program(self, "click"))
        self.assertEqual(outcome.code, 0, outcome)

    def test_a_cycle_that_aborts_ends_no_loop(self):
        program = own_program(self, "end_process")

        def aborted(load):
            self.put_many(40 * load, 50_000, self.field.send)
            process = self.loop(every="2s")
            wait_until(lambda: len(os.listdir(self.to_enterprise)) >= 3, process)
            status = json.loads((self.field.send.with_name("send.status")).read_text(encoding="utf-8"))
            # One that has sent all is ending by itself.
            if run(str(status["process"]), "3", program=program).code == 0 and count_below(self.field.send) > 0:
                return process
            self.stopped(process)
            return None

        process = self.in_time(aborted)
        self.wait_for(process, "the cycle ended in the middle, with the code 0x3;")
        wait_until(lambda: count_below(self.field.send) == 0, process)
        self.assertIsNone(process.poll())
        self.stopped(process)
        self.assert_received()

    def user_settings(self):
        """Number of lines of what the user's part of the registry holds."""
        file = self.scratch / "user.reg"
        run("export", r"HKCU\Software", file, "/y", program="reg")
        return file.read_bytes().count(b"\n")

    def memory_of_loop(self):
        """In KB. Wine tells nothing of it to another program."""
        for process, line in processes_naming(self.scratch.name, "--every"):
            if line.partition(b"\0")[0].endswith(b"znhost.exe") and b"--cycle" not in line:
                return int(re.search(r"VmData:\s+(\d+)", (process / "status").read_text())[1])
        return self.fail("there is no loop")

    @slow
    def test_a_day_of_cycles_gathers_nothing(self):
        """As many as come at one a minute. Each is a process of its own, so that only the loop could gather something."""
        watch = subprocess.Popen(command(own_program(self, "watch"), [
            support.BIN / "znhost.exe", "run", self.field.settings, "--every", "1s", "--quiet"]),
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.addCleanup(watch.wait)
        self.addCleanup(watch.kill)

        def cycle():
            self.put(self.field, "a.mdb")
            self.ledger.clear()
            wait_until((self.to_enterprise / "a.mdb").exists, watch)
            (self.to_enterprise / "a.mdb").unlink()

        def state():
            watch.stdin.write(b"\n")
            watch.stdin.flush()
            files = {name for name in files_below(self.root) if not name.endswith((".arriving", ".lock"))}
            return watch.stdout.readline().split(), self.user_settings(), work_folders(), files

        for _ in range(20):
            cycle()
        before, memory = state(), self.memory_of_loop()
        for _ in range(CYCLES_OF_A_DAY):
            cycle()
        print(f"{memory} KB before, {self.memory_of_loop()} KB after", flush=True)
        self.assertEqual(state(), before)
        self.assertLess(self.memory_of_loop(), memory + CYCLES_OF_A_DAY // 2)
        watch.stdin.close()
