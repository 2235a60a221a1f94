"""Logins to servers, and what guards them: passwords at rest, keys and certificates, proxies."""
import fcntl
import os
import pty
import re
import select
import struct
import tempfile
import termios
import time
import tty

import support
from dav import HttpsHostTest, PASSWORD
from support import HostTest, TIMEOUT, command, finish, run, start

PROTECTED = r"(?m)^password = (dpapi:[A-Za-z0-9+/=]+)$"


def given(text):
    """A standard input."""
    file = tempfile.TemporaryFile()
    file.write(text)
    file.seek(0)
    return file


def typed(arguments, *answers):
    """The host on a terminal of its own, on which somebody answers each question; its exit code, and what the terminal shows."""
    process, terminal = pty.fork()
    if process == 0:
        tty.setraw(0)  # as a console of Windows hands over what is typed, and shows nothing itself
        fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 50, 200, 0, 0))
        os.execv(support.WINE, command(None, arguments))
    output, waiting, asked = b"", list(answers), 0
    end = time.monotonic() + TIMEOUT
    while time.monotonic() < end:
        if waiting and output.count(b"):") + output.count(b"more:") > asked:
            asked += 1
            os.write(terminal, waiting.pop(0) + b"\r")
        if select.select([terminal], [], [], 0.01)[0]:
            try:
                output += os.read(terminal, 65536)
            except OSError:  # the terminal of a program that ended
                break
    os.close(terminal)
    return os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]), output


class PasswordTest(HttpsHostTest):
    def encipher(self, *options, password=PASSWORD.encode()):
        with given(password + b"\r\nnext line") as text:
            return run("password", self.field.settings, "--stdin", *options, stdin=text)

    def stored(self):
        return re.search(PROTECTED, self.field.settings.read_text(encoding="utf-8"))[1]

    def test_packets_travel_with_a_password_that_windows_enciphered(self):
        self.field.change("https.password", "")
        text = self.field.settings.read_text(encoding="utf-8") + "\n; the last line"
        self.field.settings.write_text(text, encoding="utf-8")
        for option in ((), ("--machine",)):
            outcome = self.encipher(*option)
            self.assertEqual(outcome.code, 0, outcome)
            self.assertIn("Every account" if option else "Programs of this account", outcome.output)
            after = self.field.settings.read_text(encoding="utf-8")
            self.assertEqual(after.replace(f"password = {self.stored()}", "password = "), text)
            self.assertNotIn(PASSWORD, after + outcome.output)
            self.put(self.field, "a.mdb")
            self.assert_next_cycle_delivers()
            self.ledger.clear()

    def test_what_cannot_be_deciphered_is_told_and_can_be_written_anew(self):
        self.encipher()
        good = self.stored()
        for bad in ("dpapi:", "dpapi:nonsense!", good[:-8], good.replace("dpapi:", "dpapi:AAAA")):
            with self.subTest(bad):
                self.field.change("https.password", bad)
                outcome = self.assert_run(self.field, 2)
                self.assertIn("[https] password: the password was enciphered by another account or on another computer", outcome.errors)
                self.assertIn("znhost password \"Z:", outcome.errors)
                self.assertNotIn(bad, outcome.errors)
        self.assertEqual(self.encipher(password="geh€im".encode()).code, 0)
        self.put(self.field, "a.mdb")
        self.assert_trouble(self.field)
        self.assertIn("Check the login", self.field.log)
        self.assertEqual(self.encipher().code, 0)
        self.assert_next_cycle_delivers()

    def test_somebody_types_it(self):
        self.field.change("https.password", "wrong")
        before = self.field.settings.read_bytes()
        for answers, expected in (((b"secret", b"secred"), "differ"), ((b"",), "is empty")):
            code, shown = typed(["password", self.field.settings], *answers)
            self.assertEqual((code, self.field.settings.read_bytes()), (2, before), shown)
            self.assertIn(expected, shown.decode())
        code, shown = typed(["password", self.field.settings], b"secret", b"secret")
        self.assertEqual(code, 0, shown)
        self.assertNotIn(b"secret", shown)
        self.put(self.field, "a.mdb")
        self.assert_next_cycle_delivers()

    def test_where_there_is_none(self):
        for input_, expected in ((b"\r\n", "is empty"), (b"\xff\n", "not UTF-8"), (None, "--stdin takes it")):
            with given(input_ or b"") as text:
                outcome = run("password", self.field.settings, *(["--stdin"] if input_ else []), stdin=text)
            self.assertEqual(outcome.code, 2, outcome)
            self.assertIn(expected, outcome.errors)
        self.field.change("transport", "folder")
        self.assertIn("[host] transport = folder: packets travel through a folder", self.encipher().errors)


class DialogTest(HostTest):
    def test_the_dialog_keeps_what_windows_enciphered(self):
        self.field.change("transport", "ftp")
        self.field.change("remote_send", "up")
        self.field.change("remote_receive", "down")
        self.field.change("ftp.server", "ftp.example")
        self.field.change("ftp.user", "ann")
        with self.field.settings.open("a", encoding="utf-8") as file:
            file.write("; the last line")
        with given(b"secret") as text:
            self.assertEqual(run("password", self.field.settings, "--stdin", stdin=text).code, 0)

        def edit(change):
            process = start("settings", self.field.settings)
            answered = run(change, program=support.BIN.parent / "tests" / "apply_settings.exe")
            outcome = finish(process)
            self.assertEqual((answered.code, outcome.code), (0, 0), outcome)
            return re.search(PROTECTED, self.field.settings.read_text(encoding="utf-8"))[1]
        stored = edit("0=other.example")
        self.assertEqual(edit("0=third.example"), stored)
        self.assertNotEqual(edit("2=new"), stored)
        self.assertTrue(self.field.settings.read_text(encoding="utf-8").endswith("; the last line"))
