"""Packets through real FTP servers, and what goes wrong with those."""
import os
import re
import signal
import socket
import subprocess
import threading

import support
from ftp import ActingProxy, CuttingProxy, FtpHostTest, PASSWORD, TimelessProxy
from support import Holder, WAITING, files_below, finish, own_address, run, slow, start

MB = 1 << 20


class Transfers:
    def test_sub_folders_are_upper_case_on_the_server_and_stay_so(self):
        self.put(self.field, "SUB/b.xml")
        (self.field.outbox / "SUB").rename(self.field.outbox / "Sub")
        self.assert_next_cycle_delivers()

    @slow
    def test_many_small_files(self):
        # Each sent file is looked up by a listing, and Wine reads listings byte by byte: small folders.
        for number in range(500):
            self.put(self.field, f"F{number % 125}/{number}.mdb", content=os.urandom(1000))
        self.assert_next_cycle_delivers()

    def test_a_large_file(self):
        self.deliver("large.mdb", content=os.urandom(MB) * 200)

    def test_a_folder_that_only_the_server_may_write(self):
        self.put(self.field, "a.mdb")
        self.remote_folder(self.to_enterprise).chmod(0o555)
        self.assert_trouble(self.field, {("out", "a.mdb"): WAITING}, log="clsFTPSndRcv.cls.SendLocalFile")
        self.to_enterprise.chmod(0o755)
        self.send("b.mdb")
        self.to_enterprise.chmod(0o555)
        self.assert_trouble(self.enterprise, log="Failed to delete the file ")
        self.to_enterprise.chmod(0o755)
        self.assert_next_cycle_delivers()

    def test_an_older_packet_that_may_not_be_replaced_stays(self):
        older = self.remote_folder(self.to_enterprise) / "a.mdb"
        older.write_bytes(b"older")  # and is not the server's own
        self.put(self.field, "a.mdb")
        self.assert_trouble(self.field, {("out", "a.mdb"): WAITING})
        self.assertEqual(older.read_bytes(), b"older")
        older.unlink()
        self.assert_next_cycle_delivers()


class VsftpdTest(Transfers, FtpHostTest):
    KIND = "vsftpd"


class PureFtpdTest(Transfers, FtpHostTest):
    KIND = "pure-ftpd"


class InterruptionTest(FtpHostTest):
    """What is the same with every server."""

    def test_a_second_interrupt_ends_a_run_whose_server_is_silent(self):
        with socket.create_server((own_address(21), 21)) as silent:
            self.put(self.field, "a.mdb")
            self.field.change("server", silent.getsockname()[0])
            process = self.start_run(self.field)
            connection = silent.accept()[0]
            process.send_signal(signal.SIGINT)
            with self.assertRaises(subprocess.TimeoutExpired):
                process.wait(1)
            process.send_signal(signal.SIGINT)
            outcome = finish(process)
            connection.close()
        self.assertNotEqual(outcome.code, 0)
        self.assertIn("Ctrl+C once more", outcome.errors)
        self.field.change("server", self.server.address)
        self.assert_next_cycle_delivers()

    def test_a_run_ends_by_itself_when_the_server_is_silent(self):
        with socket.create_server((own_address(21), 21)) as silent:
            self.put(self.field, "a.mdb")
            self.field.change("server", silent.getsockname()[0])
            self.field.change("patience", "2")
            outcome = self.assert_run(self.field, 1)
        self.assertIn("nothing was heard of the remote side for 2 seconds", outcome.errors)
        self.field.change("server", self.server.address)
        self.assert_next_cycle_delivers()

    def test_the_connection_drops_at_each_step_of_a_file(self):
        steps = ((self.field, b"LIST", b"150"), (self.field, b"STOR", b"150"), (self.field, b"STOR", b"226"),
                 (self.field, b"STOR", b"150 Here"),  # the list in which the packet is looked up
                 (self.enterprise, b"LIST", b"226"), (self.enterprise, b"RETR", b"226"), (self.enterprise, b"DELE", b"250"))
        for number, (side, command, reply) in enumerate(steps):
            with self.subTest(side=side.name, command=command, reply=reply):
                self.put(self.field, f"{number}.mdb", content=os.urandom(200_000))
                if side is self.enterprise:
                    self.assert_run(self.field)
                proxy = CuttingProxy(self, self.server, command, reply)
                side.change("server", proxy.address)
                outcome = self.assert_trouble(side)
                self.assertEqual(proxy.cuts, 1, outcome)
                side.change("server", self.server.address)
                self.assert_run(side)
        self.assert_delivered()


class AwkwardServerTest(FtpHostTest):
    def test_a_folder_that_is_closed_leaves_packets_there(self):
        self.remote_folder(self.remote_folder(self.to_enterprise) / "CLOSED").chmod(0)
        self.put(self.field, "a.mdb")
        self.assert_run(self.field)
        self.assertNotIn("The transfer failed", self.assert_run(self.enterprise, 1, {("in", "a.mdb"): "delivered"}).output)
        self.assertIn("failed: The FTP server lists the folder CLOSED",
                      self.assert_ends(1, "status", self.enterprise.settings).output)

    def test_a_packet_that_is_taken_before_its_turn_was_not_sent(self):
        """While the host logs in, and while another packet is sent."""
        for command, name in ((b"USER", "taken.mdb"), (b"STOR", "taken.mdb"), (b"STOR", "SUB/taken.mdb")):
            with self.subTest(command=command, name=name):
                self.put(self.field, "a.mdb", name)
                taken = self.field.send / name
                proxy = ActingProxy(self, self.server, command, lambda path=taken: path.unlink(missing_ok=True))
                self.field.change("server", proxy.address)
                self.assert_run(self.field, 1, {("out", "a.mdb"): "sent", ("out", name): "gone from send folder"})
                self.assertEqual(files_below(self.to_enterprise).keys(), {"a.mdb"})

    def test_a_packet_that_is_still_uploaded_is_received_later(self):
        path = self.remote_folder(self.to_enterprise) / "a.mdb"
        path.write_bytes(bytes(MB))
        self.server.own(path)
        received = threading.Event()

        def upload():
            with path.open("ab", buffering=0) as file:
                while not received.wait(0.001):
                    file.write(bytes(1000))

        uploader = threading.Thread(target=upload)
        uploader.start()
        outcome = self.enterprise.run()
        received.set()
        uploader.join()
        self.assertEqual(outcome.code, 1, outcome)
        self.assertEqual(files_below(self.enterprise.inbox), {})
        whole = path.read_bytes()
        self.assert_run(self.enterprise)
        self.assertEqual((self.enterprise.inbox / "a.mdb").read_bytes(), whole)


    def test_the_newest_form_is_delivered_also_where_only_the_list_tells_times(self):
        self.enterprise.change("server", TimelessProxy(self, self.server).address)
        for encoder, name, minutes in (("zip", "a.mdb.afz", 10), ("none", "a.mdb", 0)):
            self.field.change("encoder", encoder)
            newest = self.send("a.mdb")
            path = self.to_enterprise / name
            written = path.stat().st_mtime - 60 * minutes  # lists tell no seconds
            os.utime(path, (written, written))
        self.assertIn("a newer version has arrived", self.assert_run(self.enterprise, 1).output)
        self.assertEqual((self.enterprise.inbox / "a.mdb").read_bytes(), newest)


class LoginTest(FtpHostTest):
    def doctor(self, code, text):
        self.assertIn(text, self.assert_ends(code, "doctor", self.field.settings).output)

    def test_a_login_that_does_not_work_asks_nobody(self):
        before = files_below(self.server.packets)
        self.doctor(0, "takes the login")
        self.put(self.field, "a.mdb")
        self.field.change("password", "wrong")
        self.doctor(1, "to do remote: there is no connection to the FTP server")
        self.assertEqual(files_below(self.server.packets), before)
        self.assert_trouble(self.field, {("out", "a.mdb"): WAITING})
        self.assertIn("no connection as user ftp to the FTP server " + self.server.address, self.field.log)
        self.field.change("password", PASSWORD)
        self.assert_next_cycle_delivers()

    def test_a_local_file_in_use_is_sent_later(self):
        held = Holder(self, self.put(self.field, "a.mdb", folder=self.field.send))
        self.assert_trouble(self.field, {("out", "a.mdb"): WAITING})
        held.release()
        self.assert_next_cycle_delivers()


class SiteTest(FtpHostTest):
    def verify(self, code):
        return self.assert_ends(code, "verify", self.field.settings, cwd=self.scratch)

    def test_verifying_a_site(self):
        folders = [self.server.folder / "root" / name for name in ("to-field", "to-enterprise")]
        for folder in folders:
            self.remote_folder(folder)
            self.field.change("remote_receive" if folder.name == "to-field" else "remote_send", folder.name)
        self.verify(0)
        self.assertEqual([files_below(folder) for folder in folders], [{}, {}])
        for key, value, text in (("remote_send", "new", "A folder cannot be created on the server:"),
                                 ("password", "wrong", "The login to the FTP server failed."),
                                 ("server", "no-such-host.invalid", "The name of the server cannot be resolved.")):
            self.field.change(key, value)
            self.assertIn(text, self.verify(1).errors)

    def test_remote_folders_that_hold_each_other_would_send_packets_in_a_circle(self):
        for transport in ("ftp", "https"):
            self.field.change("transport", transport)
            for send, receive in (("packets/up", "packets"), ("/", "/down"), ("same", "same/"), ("same", "/same"),
                                  ("same", "same//"), ("/a", "a/b"), ("In", "in"), ("a//b", "/a")):
                with self.subTest(transport=transport, send=send, receive=receive):
                    self.field.change("remote_send", send)
                    self.field.change("remote_receive", receive)
                    self.assertIn("must not be or lie in that of", self.assert_run(self.field, 2).errors)
        for path in ("..", "same/../up", "./up"):
            self.field.change("remote_send", path)
            self.assertIn("must hold no . and no ..", self.assert_run(self.field, 2).errors)

    def test_a_shared_folder_is_no_site(self):
        self.field.change("transport", "folder")
        self.assertIn("this command needs transport = ftp", self.verify(2).errors)

    def edit_settings(self, *rounds, meanwhile=()):
        """What the host says, and the file that it leaves, when a user answers its dialog. meanwhile: key and value that
        somebody else writes while the dialog is open."""
        process = start("settings", self.field.settings)
        user = support.BIN.parent / "tests" / "apply_settings.exe"
        if meanwhile:
            self.assert_ends(0, "look", program=user)
            self.field.change(*meanwhile)
        answered = run(*rounds, program=user)
        outcome = finish(process)
        self.assertEqual((answered.code, outcome.code), (0, 0), outcome)
        return outcome, self.field.settings.read_text(encoding="utf-8")

    def test_the_dialog_writes_the_settings_file(self):
        before = self.field.settings.read_text(encoding="utf-8")
        self.field.settings.chmod(0o600)
        outcome, after = self.edit_settings("cancel")
        self.assertIn("Cancelled", outcome.output)
        self.assertEqual(after, before)
        _, after = self.edit_settings("0=ftp.example")
        self.assertRegex(after, "(?m)^server = ftp.example\r?$")
        self.assertRegex(after, "(?m)^password = [0-9A-F]{64}\r?$")
        self.assertEqual(self.field.settings.stat().st_mode & 0o777, 0o600, "others may read the password")
        self.field.change("password", PASSWORD)
        self.field.settings.chmod(0o400)
        self.assertEqual(self.edit_settings("0=ftp.example")[1], after,
                         "a plain password is enciphered also among old values")
        keep = [line for line in before.splitlines() if not line.startswith(("server =", "password ="))]
        self.assertEqual([line for line in after.splitlines() if not line.startswith(("server =", "password ="))],
                         keep)

    def test_what_the_settings_file_refuses_goes_back_into_the_dialog(self):
        outcome, after = self.edit_settings("4= up\\x", "1= ann ", "4= up")
        self.assertIn("[folders] remote_send =  up\\x: a path on a server is written with /", outcome.errors)
        self.assertIn(support.windows(self.field.settings), outcome.errors)
        self.assertRegex(after, '(?m)^remote_send = " up"\r?$')
        self.assertEqual(self.edit_settings("0=ftp.example")[1],
                         after.replace(f"server = {self.server.address}", "server = ftp.example"),
                         "blanks at the ends of values get lost")

    def test_what_somebody_else_writes_meanwhile_comes_into_the_dialog(self):
        password = re.search("(?m)^password = (.*)$", self.edit_settings("0=ftp.example")[1])[1]
        self.field.change("password", "other")
        for key, value, folder in (("server", "new.example", "remote_send"), ("password", password, "remote_send"),
                                   ("role", "enterprise", "remote_receive")):
            with self.subTest(key):
                outcome, after = self.edit_settings("4=older", f"4={key}", meanwhile=(key, value))
                self.assertIn("the FTP settings were changed while the dialog was open", outcome.errors)
                self.assertRegex(after, f"(?m)^{key} = {value}\r?$")
                self.assertRegex(after, f"(?m)^{folder} = {key}\r?$")
