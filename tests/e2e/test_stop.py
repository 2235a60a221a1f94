"""Runs that end early: Ctrl+C, and a process that is killed."""
import fcntl
import os
import pty
import select
import signal
import struct
import termios
import time

import support
from support import HostTest, files_below, finish, wait_until, windows

COUNT = 300


class Terminal:
    """The host on a terminal of its own, as a user starts it."""

    def __init__(self, *arguments):
        self.output = ""
        self._pid, self._terminal = pty.fork()
        if self._pid == 0:
            # Wide enough for every line of the table: 50 rows of 200 columns.
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 50, 200, 0, 0))
            os.execv(support.WINE, ["wine", str(support.BIN / "znhost.exe"), *arguments])

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
    def fill(self, folder, load=1):
        for number in range(COUNT * load):
            self.put(self.field, f"{number}.mdb", os.urandom(50_000), folder)

    def arrived(self):
        return len(os.listdir(self.to_enterprise))

    def press_ctrl_c(self, condition):
        terminal = Terminal("run", windows(self.field.settings))
        terminal.press_when(b"\x03", condition)
        return terminal, terminal.wait()

    def test_ctrl_c_ends_a_transfer_after_the_current_file(self):
        def attempt(load):
            self.fill(self.field.send, load)
            terminal, code = self.press_ctrl_c(lambda: self.arrived() >= 5)
            left = len(files_below(self.field.send))
            if left == 0:
                return False
            self.assertEqual(code, 1, terminal.output)
            self.assertIn("Stopped by the user", terminal.output)
            self.assertIn("Interrupted by user", terminal.output)
            self.assertEqual(terminal.output.count("stopped before its turn"), left)
            self.assertGreaterEqual(self.arrived(), 5)
            self.assert_nothing_lost()
            self.assert_next_cycle_delivers()
            return True

        self.in_time(attempt)

    def test_ctrl_c_while_the_outbox_is_added(self):
        def attempt(load):
            self.fill(self.field.outbox, load)
            terminal, code = self.press_ctrl_c(lambda: len(os.listdir(self.field.send)) >= 5)
            if not files_below(self.field.outbox):
                return False
            self.assertEqual(code, 1, terminal.output)
            self.assertEqual(self.arrived(), 0)
            self.assert_nothing_lost()
            self.assert_next_cycle_delivers()
            return True

        self.in_time(attempt)

    def test_a_progress_bar_on_a_terminal_only(self):
        self.fill(self.field.send)
        terminal = Terminal("run", windows(self.field.settings))
        self.assertEqual(terminal.wait(), 0, terminal.output)
        self.assertRegex(terminal.output, r"\[#+\.*\]")
        self.fill(self.field.send)
        self.assertNotRegex(self.assert_run(self.field, 0).output, r"\[#+\.*\]")

    def test_an_interrupt_without_a_terminal(self):
        def attempt(load):
            self.fill(self.field.send, load)
            process = self.start_run(self.field)
            wait_until(lambda: self.arrived() >= 5)
            process.send_signal(signal.SIGINT)
            outcome = finish(process)
            if not files_below(self.field.send):
                return False
            self.assertEqual(outcome.code, 1, outcome)
            self.assertIn("Stopped by the user", outcome.output)
            self.assert_nothing_lost()
            self.assert_next_cycle_delivers()
            return True

        self.in_time(attempt)

    def test_a_killed_run_loses_nothing(self):
        def attempt(load):
            self.fill(self.field.send, load)
            process = self.start_run(self.field)
            wait_until(lambda: self.arrived() >= 20)
            process.kill()
            process.wait()
            if not files_below(self.field.send):
                return False
            self.assert_nothing_lost()
            self.assert_next_cycle_delivers()
            return True

        self.in_time(attempt)
