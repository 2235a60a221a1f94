"""Runs that end early: Ctrl+C, and a process that is killed."""
import os
import pty
import select
import signal
import time

import support
from support import HostTest, files_below, wait_until, windows

COUNT = 300


class Terminal:
    """The host on a terminal of its own, as a user starts it."""

    def __init__(self, *arguments):
        self.output = ""
        self._pid, self._terminal = pty.fork()
        if self._pid == 0:
            os.execv(support.WINE, ["wine", windows(support.BIN / "znhost.exe"), *arguments])

    def _read(self):
        if not select.select([self._terminal], [], [], 0.01)[0]:
            return True
        try:
            part = os.read(self._terminal, 65536)
        except OSError:  # the terminal of a program that ended
            return False
        self.output += part.decode(errors="replace")
        return bool(part)

    def press_when(self, key, condition):
        end = time.monotonic() + support.TIMEOUT
        while not condition():
            if not self._read() or time.monotonic() > end:
                raise AssertionError("the run ended too early:\n" + self.output)
        os.write(self._terminal, key)

    def wait(self):
        end = time.monotonic() + support.TIMEOUT
        while self._read():
            if time.monotonic() > end:
                os.kill(self._pid, 9)
                break
        os.close(self._terminal)
        return os.waitstatus_to_exitcode(os.waitpid(self._pid, 0)[1])


class StopTest(HostTest):
    def fill(self, folder):
        for number in range(COUNT):
            self.put(self.field, f"{number}.mdb", os.urandom(100_000), folder)

    def test_ctrl_c_ends_a_transfer_after_the_current_file(self):
        self.fill(self.field.send)
        terminal = Terminal("run", windows(self.field.settings))
        terminal.press_when(b"\x03", lambda: len(os.listdir(self.to_enterprise)) >= 5)
        code = terminal.wait()
        self.assertEqual(code, 1, terminal.output)
        self.assertIn("Stopped by the user", terminal.output)
        self.assertIn("Interrupted by user", terminal.output)
        left = len(files_below(self.field.send))
        self.assertTrue(0 < left < COUNT, f"{left} files were left")
        self.assertEqual(terminal.output.count("stopped before its turn"), left)
        self.assert_nothing_lost()
        self.assert_next_cycle_delivers()

    def test_ctrl_c_while_the_outbox_is_added(self):
        self.fill(self.field.outbox)
        terminal = Terminal("run", windows(self.field.settings))
        terminal.press_when(b"\x03", lambda: len(os.listdir(self.field.send)) >= 5)
        code = terminal.wait()
        self.assertEqual(code, 1, terminal.output)
        left = len(files_below(self.field.outbox))
        self.assertTrue(0 < left < COUNT, f"{left} files were left")
        self.assertEqual(files_below(self.to_enterprise), {})
        self.assert_nothing_lost()
        self.assert_next_cycle_delivers()

    def test_a_progress_bar_on_a_terminal_only(self):
        self.fill(self.field.send)
        terminal = Terminal("run", windows(self.field.settings))
        self.assertEqual(terminal.wait(), 0, terminal.output)
        self.assertRegex(terminal.output, r"\[#+\.*\]")
        self.fill(self.field.send)
        self.assertNotRegex(self.assert_run(self.field, 0).output, r"\[#+\.*\]")

    def test_an_interrupt_without_a_terminal(self):
        self.fill(self.field.send)
        process = self.start_run(self.field)
        wait_until(lambda: len(os.listdir(self.to_enterprise)) >= 5)
        process.send_signal(signal.SIGINT)
        outcome = self.assert_end(process, 1)
        self.assertIn("Stopped by the user", outcome.output)
        self.assertGreater(len(files_below(self.field.send)), 0)
        self.assert_nothing_lost()
        self.assert_next_cycle_delivers()

    def test_a_killed_run_loses_nothing(self):
        self.fill(self.field.send)
        process = self.start_run(self.field)
        wait_until(lambda: len(os.listdir(self.to_enterprise)) >= 20)
        process.kill()
        process.communicate()
        self.assertLess(len(files_below(self.to_enterprise)), COUNT)
        self.assert_nothing_lost()
        self.assert_next_cycle_delivers()
