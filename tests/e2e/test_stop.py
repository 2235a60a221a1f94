"""Runs that end early: Ctrl+C, and a process that is killed."""
import os
import signal

from support import HostTest, files_below, finish, run_on_terminal, wait_until

COUNT = 40


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

    def send_signal(self, number, condition):
        process = self.start_run(self.field)
        wait_until(condition, process)
        process.send_signal(number)
        return finish(process)

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
        self.assertRegex(outcome.output, r"\[#+\.*\]")
        self.put_many(COUNT, 50_000, self.field.send)
        self.assertNotRegex(self.assert_run(self.field).output, r"\[#+\.*\]")

    def test_an_interrupt_without_a_terminal(self):
        outcome = self.disturbed("send", lambda: self.send_signal(signal.SIGINT, lambda: self.arrived() >= 5))
        self.assertEqual(outcome.code, 1, outcome)
        self.assertIn("Stopped by the user", outcome.output)
        self.assert_next_cycle_delivers()

    def test_a_killed_run_loses_nothing(self):
        self.disturbed("send", lambda: self.send_signal(signal.SIGKILL, lambda: self.arrived() >= 5))
        self.assert_next_cycle_delivers()
