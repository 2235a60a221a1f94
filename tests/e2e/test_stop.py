"""Runs that end early: Ctrl+C, and a process that is killed."""
import os
import signal
import time

from support import HostTest, Mount, arriving, files_below, finish, own_program, run, run_on_terminal, wait_until, windows

COUNT = 40


def hold_up(process):
    process.send_signal(signal.SIGSTOP)
    time.sleep(0.02)
    process.send_signal(signal.SIGCONT)


class StopTest(HostTest):
    def arrived(self):
        return len(os.listdir(self.to_enterprise))

    def disturbed(self, place, disturb):
        """Outcome of a run that is disturbed while there are still files in one of the field's folders."""
        def attempt(load):
            folder = getattr(self.field, place)
            self.put_many(COUNT * load, 50_000, folder)
            outcome = disturb()
            return files_below(folder) and outcome

        return self.in_time(attempt)

    def press_ctrl_c(self, condition):
        return run_on_terminal(self.field.settings, interrupt_when=condition)

    def test_ctrl_c_ends_a_transfer_after_the_current_file(self):
        outcome = self.disturbed("send", lambda: self.press_ctrl_c(lambda: self.arrived() >= 5))
        self.assertEqual(outcome.code, 1, outcome)
        self.assertIn("Stopped by the user", outcome.output)
        self.assertIn("Interrupted by user", outcome.output)
        self.assertEqual(outcome.output.count("stopped before its turn"), len(files_below(self.field.send)))
        self.assertGreaterEqual(self.arrived(), 5)
        self.assert_next_cycle_delivers()

    def test_ctrl_c_while_the_outbox_is_added(self):
        outcome = self.disturbed("outbox", lambda: self.press_ctrl_c(lambda: any(self.field.send.iterdir())))
        self.assertEqual(outcome.code, 1, outcome)
        self.assertEqual(self.arrived(), 0)
        self.assert_next_cycle_delivers()

    def test_a_progress_bar_on_a_terminal_only(self):
        self.put_many(COUNT, 50_000, self.field.send)
        outcome = run_on_terminal(self.field.settings)
        self.assertEqual(outcome.code, 0, outcome)
        self.assertRegex(outcome.output, r"\[#+\.*\] +\d+/40  \d+\.\d/s  \d+:\d\d left")
        self.put_many(COUNT, 50_000, self.field.send)
        self.assertNotRegex(self.assert_run(self.field).output, r"\[#+\.*\]")

    def test_the_end_of_the_session_ends_a_run_that_is_told_and_remembered(self):
        program = own_program(self, "end_session")

        def log_off():
            process = self.start_run(self.field)
            wait_until(lambda: self.arrived() >= 5, process)
            answer = run("znhost session", windows(self.field.settings), "end", program=program)
            outcome = finish(process)
            return outcome if answer.code == 0 else None

        self.assertIn("Stopped by the user", self.disturbed("send", log_off).output)
        self.assertIn("stopped by the user", run("status", self.field.settings).output)
        self.assert_next_cycle_delivers()

    def test_a_run_that_is_killed_in_the_middle_of_a_copy_leaves_no_part(self):
        """From the remote folder, and to an inbox on another volume."""
        def attempt(load):
            Mount(self, self.enterprise.inbox, "400m")
            source, target = places()
            packet = self.put(self.field, f"large{load}.xml", content=os.urandom(20_000_000) * load, folder=source)
            process = self.start_run(self.enterprise)
            wait_until(lambda: arriving(target) > 1_000_000, process)
            process.kill()
            process.wait()
            return not (target / packet.name).exists() and (packet.name, target)

        for places in (lambda: (self.to_enterprise, self.enterprise.receive),
                       lambda: (self.enterprise.receive, self.enterprise.inbox)):
            name, target = self.in_time(attempt)
            wait_until(lambda: not any(target.iterdir()))  # Wine's server sees the end a little later
            self.assert_run(self.enterprise, 0, {("in", name): "delivered"})
            self.assert_delivered()
            (self.enterprise.inbox / name).unlink()
            self.ledger.clear()

    def test_ctrl_c_ends_a_copy_in_its_middle(self):
        def attempt(load):
            packet = self.put(self.field, f"large{load}.mdb", content=os.urandom(30_000_000) * load,
                              folder=self.field.send)
            process = self.start_run(self.field)
            wait_until(lambda: arriving(self.to_enterprise) > 1_000_000, process)
            process.send_signal(signal.SIGINT)
            # Copies are so fast that others, who bring it the signal, must get more of the processors than it does.
            wait_until(lambda: hold_up(process), process)
            outcome = finish(process)
            return packet.exists() and outcome

        outcome = self.in_time(attempt)
        self.assertEqual(outcome.code, 1, outcome)
        for text in ("Interrupted by user", "Stopped by the user"):
            self.assertIn(text, outcome.output)
        self.assertEqual(files_below(self.to_enterprise), {})
        self.assert_next_cycle_delivers()

    def test_what_a_killed_run_received_in_the_folder_of_the_backups_becomes_none(self):
        packet = self.put(self.field, "Backup/a.mdb", folder=self.enterprise.receive).read_bytes()
        backup = self.put(self.field, "a.mdb", folder=self.enterprise.receive.with_name("receive.backups")).read_bytes()
        self.assert_run(self.enterprise, 0, {("in", "Backup (received)/a.mdb"): "delivered"})
        self.assertEqual((self.enterprise.inbox / "Backup (received)" / "a.mdb").read_bytes(), packet)
        self.assertEqual((self.enterprise.receive / "Backup" / "a.mdb").read_bytes(), backup)
