"""Packets through real FTP servers, and what goes wrong with those."""
import os
import unittest

import support
from ftp import CuttingProxy, FtpHostTest, PASSWORD
from support import Holder, Mount, files_below, finish, run, start, wait_until, windows
from test_stop import Terminal

WAITING = "waiting in send folder"
AWKWARD = b"\r\n\n\r\x1a\x00\xff\xf4" * 500


class Transfers:
    def test_packets_travel_both_ways(self):
        self.put(self.field, "a.mdb", AWKWARD)
        self.put(self.field, "SUB/DEEP/b.xml")
        self.put(self.field, "empty.mdb", b"")
        self.put(self.enterprise, "c.mdb")
        older = self.remote_folder(self.to_enterprise) / "a.mdb"
        older.write_bytes(os.urandom(30_000))
        self.server.own(older)
        outcome = self.assert_run(self.field, 0)
        self.assertEqual(set(outcome.packets.values()), {"sent"})
        self.assertEqual(older.read_bytes(), AWKWARD)
        self.assertEqual(files_below(self.field.send), {})
        self.assert_run(self.enterprise, 0)
        self.assert_delivered(["a.mdb", "SUB/DEEP/b.xml", "empty.mdb"])
        self.assertEqual(files_below(self.to_enterprise), {})
        self.assert_run(self.field, 0)
        self.assert_delivered()
        self.assertEqual(self.field.log + self.enterprise.log, "")

    def test_sub_folders_are_upper_case_on_the_server(self):
        self.put(self.field, "Field1/a.mdb", b"one")
        self.assert_run(self.field, 0)
        self.assertEqual(list(files_below(self.to_enterprise)), ["FIELD1/a.mdb"])
        self.remote_folder(self.to_enterprise / "EMPTY")
        self.assert_run(self.enterprise, 0)
        self.assertEqual((self.enterprise.inbox / "FIELD1" / "a.mdb").read_bytes(), b"one")
        self.assert_run(self.enterprise, 0)
        self.assertEqual(self.enterprise.log, "", "folders that hold no file are no trouble")

    def test_many_small_files(self):
        # Each sent file is looked up by a listing, and Wine reads listings byte by byte: small folders.
        for number in range(500):
            self.put(self.field, f"F{number % 125}/{number}.mdb", os.urandom(1000))
        self.assert_run(self.field, 0, timeout=600)
        self.assert_run(self.enterprise, 0, timeout=600)
        self.assert_delivered()

    def test_a_large_file(self):
        self.put(self.field, "large.mdb", os.urandom(1 << 20) * 200)
        self.assert_next_cycle_delivers()

    def test_a_folder_that_only_the_server_may_write(self):
        self.put(self.field, "a.mdb")
        self.remote_folder(self.to_enterprise).chmod(0o555)
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): WAITING})
        self.assertIn("clsFTPSndRcv.cls.SendLocalFile", self.field.log)
        self.assert_nothing_lost()
        self.to_enterprise.chmod(0o755)
        self.put(self.field, "b.mdb")
        self.assert_run(self.field, 0)
        self.to_enterprise.chmod(0o555)
        self.assert_run(self.enterprise, 1)
        self.assertIn("Failed to delete the file ", self.enterprise.log)
        self.assert_nothing_lost()
        self.to_enterprise.chmod(0o755)
        self.assert_next_cycle_delivers()

    def test_a_full_disk_of_the_server(self):
        volume = Mount(self, self.to_enterprise, "1m")
        self.server.own(self.to_enterprise)
        self.put(self.field, "a.mdb", os.urandom(3 << 20))
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): WAITING})
        self.assertIn("clsFTPSndRcv.cls.SendLocalFile", self.field.log)
        self.assert_nothing_lost()
        self.assert_run(self.enterprise, 0)
        self.assertEqual(files_below(self.enterprise.inbox), {}, "a part was delivered as a packet")
        volume.remount("size=20m")
        self.assert_next_cycle_delivers()


class VsftpdTest(Transfers, FtpHostTest):
    KIND = "vsftpd"


class PureFtpdTest(Transfers, FtpHostTest):
    KIND = "pure-ftpd"


class InterruptionTest(FtpHostTest):
    """What is the same with every server."""

    def killed_while(self, condition, side):
        """Kills the server once the condition holds during a side's run; False when the run was faster."""
        process = self.start_run(side)
        wait_until(lambda: condition() or process.poll() is not None)
        self.server.kill()
        outcome = finish(process)
        self.assert_nothing_lost()
        self.server.start()
        return outcome.code != 0

    def test_the_server_dies_during_a_put(self):
        def attempt(load):
            name = f"large{load}.mdb"
            self.put(self.field, name, os.urandom(1 << 20) * (100 * load), self.field.send)
            part = self.to_enterprise / name
            if not self.killed_while(lambda: part.exists() and part.stat().st_size > 1 << 20, self.field):
                return False
            self.assertTrue((self.field.send / name).exists())
            self.assert_next_cycle_delivers()
            return True

        self.in_time(attempt)

    def test_the_server_dies_during_a_get(self):
        def attempt(load):
            name = f"large{load}.mdb"
            folder = self.remote_folder(self.to_enterprise)
            self.put(self.field, name, os.urandom(1 << 20) * (100 * load), folder)
            self.server.own(folder / name)
            part = self.enterprise.receive / name
            if not self.killed_while(lambda: part.exists() and part.stat().st_size > 1 << 20, self.enterprise):
                return False
            self.assertTrue((folder / name).exists())
            self.assertFalse((self.enterprise.inbox / name).exists(), "a part was delivered as a packet")
            self.assert_next_cycle_delivers()
            return True

        self.in_time(attempt)

    def test_the_connection_drops_at_each_step_of_a_file(self):
        for side, command, reply in ((self.field, b"STOR", b"150"), (self.field, b"STOR", b"226"),
                                     (self.field, b"LIST", b"150"), (self.enterprise, b"LIST", b"226"),
                                     (self.enterprise, b"RETR", b"226"), (self.enterprise, b"DELE", b"250")):
            with self.subTest(side=side.name, command=command, reply=reply):
                self.put(self.field, f"{side.name}{command.decode()}{reply.decode()}.mdb", os.urandom(200_000))
                if side is self.enterprise:
                    self.assert_run(self.field, 0)
                proxy = CuttingProxy(self, self.server, command, reply)
                side.change("server", proxy.address)
                outcome = self.assert_run(side, 1)
                self.assertEqual(proxy.cuts, 1, outcome)
                self.assert_nothing_lost()
                side.change("server", self.server.address)
                self.assert_next_cycle_delivers()


class LoginTest(FtpHostTest):
    def assert_waits(self, report):
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): WAITING})
        self.assertIn(report, self.field.log)
        self.assert_nothing_lost()

    def test_a_login_that_does_not_work_asks_nobody(self):
        self.put(self.field, "a.mdb")
        self.field.change("password", "wrong")
        self.assert_waits("no connection as user ftp to the FTP server " + self.server.address)
        self.field.change("server", "no-such-host.invalid")
        self.assert_waits("Could not connect to the FTP server: Check server name")
        self.field.change("server", self.server.address)
        self.field.change("password", "")
        self.assert_waits("Set the FTP server, user and password.")
        self.field.change("password", PASSWORD)
        self.server.kill()
        self.assert_waits("no connection as user ftp to the FTP server " + self.server.address)
        self.server.start()
        self.assert_next_cycle_delivers()


class SiteTest(FtpHostTest):
    def verify(self):
        return run("verify", windows(self.field.settings), cwd=self.scratch)

    def test_verifying_a_site(self):
        folders = [self.server.folder / "root" / name for name in ("to-field", "to-enterprise")]
        for folder in folders:
            self.remote_folder(folder)
            self.field.change("remote_receive" if folder.name == "to-field" else "remote_send", folder.name)
        outcome = self.verify()
        self.assertEqual(outcome.code, 0, outcome)
        self.assertEqual([files_below(folder) for folder in folders], [{}, {}])
        for key, value, text in (("remote_send", "new", "A folder cannot be created on the server:"),
                                 ("password", "wrong", "The login to the FTP server failed."),
                                 ("server", "no-such-host.invalid", "The name of the server cannot be resolved.")):
            self.field.change(key, value)
            outcome = self.verify()
            self.assertIn(text, outcome.errors)
            self.assertEqual(outcome.code, 1)

    def test_remote_folders_that_hold_each_other_would_send_packets_in_a_circle(self):
        for send, receive in (("packets/up", "packets"), ("/", "/down"), ("same", "same/")):
            self.field.change("remote_send", send)
            self.field.change("remote_receive", receive)
            outcome = self.assert_run(self.field, 2)
            self.assertIn("must not be or lie in that of", outcome.errors)

    def test_a_shared_folder_is_no_site(self):
        self.field.change("transport", "folder")
        outcome = self.verify()
        self.assertIn("this command needs transport = ftp", outcome.errors)
        self.assertEqual(outcome.code, 2)

    def apply_settings(self):
        process = start("settings", windows(self.field.settings))
        applied = run("ftp.example", program=support.BIN.parent / "tests" / "apply_settings.exe")
        outcome = finish(process)
        self.assertEqual((applied.code, outcome.code), (0, 0), outcome)
        return self.field.settings.read_text(encoding="utf-8")

    def test_the_dialog_writes_the_settings_file(self):
        before = self.field.settings.read_text(encoding="utf-8")
        after = self.apply_settings()
        self.assertRegex(after, "(?m)^server = ftp.example\r?$")
        self.assertRegex(after, "(?m)^password = [0-9A-F]{64}\r?$")
        self.field.change("password", PASSWORD)
        self.assertEqual(self.apply_settings(), after, "a plain password is enciphered also among old values")
        keep = [line for line in before.splitlines() if not line.startswith(("server =", "password ="))]
        self.assertEqual([line for line in after.splitlines() if not line.startswith(("server =", "password ="))],
                         keep)


class LocalTroubleTest(FtpHostTest):
    def test_a_local_file_in_use_is_sent_later(self):
        held = Holder(self, self.put(self.field, "a.mdb", folder=self.field.send))
        outcome = self.assert_run(self.field, 1)
        self.assertEqual(outcome.packets, {("out", "a.mdb"): WAITING})
        self.assert_nothing_lost()
        held.release()
        self.assert_next_cycle_delivers()

    def test_a_full_local_disk_keeps_the_servers_copy(self):
        volume = Mount(self, self.enterprise.receive, "1m")
        self.put(self.field, "a.mdb", os.urandom(3 << 20))
        self.assert_run(self.field, 0)
        self.assert_run(self.enterprise, 1)
        self.assertTrue((self.to_enterprise / "a.mdb").exists())
        self.assert_nothing_lost()
        volume.remount("size=20m")
        self.assert_next_cycle_delivers()

    def test_ctrl_c_ends_the_cycle_and_loses_nothing(self):
        def attempt(load):
            for number in range(20 * load):
                self.put(self.field, f"F{number % 5}/{load}-{number}.mdb", os.urandom(20_000), self.field.send)
            terminal = Terminal("run", windows(self.field.settings))
            terminal.press_when(b"\x03", lambda: len(files_below(self.to_enterprise)) > 2)
            if terminal.wait() == 0:
                return False
            self.assertIn("Stopped by the user", terminal.output)
            self.assert_nothing_lost()
            self.assert_next_cycle_delivers()
            return True

        self.in_time(attempt)


if __name__ == "__main__":
    unittest.main()
