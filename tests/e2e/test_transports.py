"""What holds with every transport: the same cases through a shared folder, FTP servers and WebDAV servers."""
import os

from dav import HttpsHostTest
from ftp import FtpHostTest
from support import HostTest, Mount, WAITING, count_below, files_below, finish, run_on_terminal, size_of, slow, wait_until
from test_encoders import database

MB = 1 << 20
AWKWARD = b"\r\n\n\r\x1a\x00\xff\xf4" * 500
NAMES = ("a.mdb", "empty.dat", "no_extension", "-a[1]{2}~.mdb", "SUB/DEEP/b.xml", "SUB/c.mdb", "n" * 200 + ".mdb")
BLANKS, SIGNS, SCRIPTS = "with blanks.mdb", "50%41&more#1;+=@.xml", "Größe \u65e5\u672c \U0001F4E6.mdb"


class Cases:
    REFUSED = {}  # names that do not travel, as docs/limits.md tells, and what the report says of them
    COUNT = 40  # packets of which some are there before the last ones are sent

    @property
    def remote(self):
        """The folder on the remote side in which all others lie."""
        return self.to_enterprise.parent

    def offer(self, name, content):
        """A packet that has been sent."""
        self.to_enterprise.mkdir(exist_ok=True)
        packet = self.put(self.field, name, content=content, folder=self.to_enterprise)
        self.own(self.to_enterprise, packet.parent, packet)

    def test_names_and_contents(self):
        names = [name for name in (*NAMES, BLANKS, SIGNS, SCRIPTS) if name not in self.REFUSED]
        for side in (self.field, self.enterprise):
            self.put(side, *(name for name in names if name != "empty.dat"))
            self.put(side, "empty.dat", content=b"")
            self.put(side, "awkward.mdb", content=AWKWARD)
        self.offer("a.mdb", b"older")
        self.ledger.pop()
        outgoing = {("out", name): "sent" for name in (*names, "awkward.mdb")}
        self.assert_run(self.field, 0, outgoing)
        self.assertEqual(files_below(self.to_enterprise).keys(), {*names, "awkward.mdb"})
        (self.to_enterprise / "EMPTY").mkdir()
        self.own(self.to_enterprise / "EMPTY")
        incoming = {("in", name): "delivered" for _, name in outgoing}
        self.assert_run(self.enterprise, 0, outgoing | incoming)
        self.assert_run(self.field, 0, incoming)
        self.assert_delivered()
        self.assertEqual(files_below(self.field.send) | files_below(self.remote), {})
        self.assertEqual(self.field.log + self.enterprise.log, "")

    def test_encodings(self):
        base = database(100, seed=1)
        for side in (self.field, self.enterprise):
            side.take_reference(base)
        for encoder, ending in (("zip", ".afz"), ("xdelta", "~Base.axd")):
            with self.subTest(encoder=encoder):
                self.field.change("encoder", encoder)
                self.send(f"SUB/{encoder}.mdb", content=base + os.urandom(1000))
                travelling, = self.to_enterprise.rglob("*.*")
                self.assertTrue(travelling.name.endswith(ending))
                self.assertLess(travelling.stat().st_size, len(base))
                self.assert_received()

    def test_a_newer_version_replaces_one_that_waits_and_one_that_was_delivered(self):
        for others in (0, 1, 1):
            self.ledger.clear()
            self.send("a.mdb")
            if others:
                self.assert_received()

    def test_a_newer_version_in_other_letters_replaces_one_that_waits(self):
        self.send("PLAN.MDB")
        newer = self.send("plan.mdb")
        self.assert_run(self.enterprise)
        plan, = self.enterprise.inbox.iterdir()
        self.assertEqual(plan.read_bytes(), newer)
        self.assertEqual(files_below(self.field.send) | files_below(self.remote), {})

    def test_two_packets_of_one_name_both_stay(self):
        """The send folder can tell them apart, as can many a server, but no receiver."""
        twins = {"A.mdb": "OTHER.mdb", "a.mdb": "a.mdb", "Sub/x.mdb": "OTHER/x.mdb", "SUB/x.mdb": "SUB/x.mdb"}
        self.put(self.field, *twins, "b.mdb", folder=self.field.send)
        self.assert_trouble(self.field, {("out", "b.mdb"): "sent", **{("out", name): WAITING for name in twins}},
                            "differs only in the case of letters")
        for name in ("A.mdb", "Sub"):
            (self.field.send / name).rename(self.field.send / ("OTHER" + (self.field.send / name).suffix))
        self.ledger = [(side, twins.get(name, name), digest) for side, name, digest in self.ledger]
        self.assert_next_cycle_delivers()

    def test_a_packet_takes_the_place_of_no_folder(self):
        self.offer("SUB/a.mdb", b"waits")
        expected = files_below(self.to_enterprise)
        self.put(self.field, "SUB")
        self.assert_trouble(self.field, {("out", "SUB"): WAITING})
        self.assertEqual(files_below(self.to_enterprise), expected)
        (self.field.send / "SUB").unlink()
        self.ledger.pop()
        self.assert_next_cycle_delivers()

    def test_a_remote_disk_that_is_full_or_write_protected(self):
        volume = Mount(self, self.remote, "1m")
        self.own(self.remote)
        self.put(self.field, "large.mdb", content=os.urandom(3 * MB))
        self.assert_trouble(self.field, {("out", "large.mdb"): WAITING})
        self.enterprise.run()
        self.assertEqual(files_below(self.enterprise.inbox), {}, "a part was delivered as a packet")
        volume.remount("size=20m")
        self.assert_run(self.field)
        volume.remount("ro")
        self.assert_trouble(self.enterprise)
        self.put(self.field, "b.mdb")
        self.assert_trouble(self.field, {("out", "b.mdb"): WAITING})
        volume.remount("rw")
        self.assert_next_cycle_delivers()

    def test_a_full_local_disk_keeps_the_remote_copy(self):
        volume = Mount(self, self.enterprise.receive, "1m")
        self.send("a.mdb", content=os.urandom(3 * MB))
        self.assert_trouble(self.enterprise)
        volume.remount("size=20m")
        self.assert_next_cycle_delivers()

    def test_ctrl_c_ends_the_cycle_and_loses_nothing(self):
        def attempt(load):
            self.put(self.field, *(f"F{number % 5}/{load}-{number}.mdb" for number in range(self.COUNT * load)),
                     folder=self.field.send)
            outcome = run_on_terminal(self.field.settings, interrupt_when=lambda: count_below(self.remote) > 2)
            return outcome.code and outcome

        self.assertIn("Stopped by the user", self.in_time(attempt).output)
        self.assert_next_cycle_delivers()


class ServerCases(Cases):
    def killed_during(self, side, target):
        """Kills the server once a side has brought a part to a folder; False when its run was faster."""
        def size():
            return sum(size_of(path) for path in target.rglob("*"))

        before = size()
        process = self.start_run(side)
        wait_until(lambda: size() > before + MB, process)
        self.server.kill()
        outcome = finish(process)
        self.server.start()
        return outcome.code != 0

    def test_the_server_dies_in_the_middle_of_a_packet(self):
        def send(load):
            self.put(self.field, f"sent{load}.mdb", content=os.urandom(MB) * (30 * load), folder=self.field.send)
            return self.killed_during(self.field, self.server.folder)

        def receive(load):
            self.offer(f"received{load}.mdb", os.urandom(MB) * (30 * load))
            return self.killed_during(self.enterprise, self.enterprise.receive.parent)

        for attempt in (send, receive):
            with self.subTest(attempt=attempt.__name__):
                self.in_time(attempt)
                self.assertEqual(files_below(self.enterprise.inbox).keys() & {f"received{load}.mdb" for load in (1, 4, 16)}, set())
                self.assert_next_cycle_delivers()


class FolderTest(Cases, HostTest):
    pass


class FtpTest(ServerCases, FtpHostTest):
    REFUSED = {BLANKS: "does not list it", SIGNS: "does not list it", SCRIPTS: "8-bit code page"}
    COUNT = 10  # Wine reads the list of a folder slowly

    @slow
    def test_names_that_do_not_travel(self):
        for name, report in self.REFUSED.items():
            with self.subTest(name=name):
                self.put(self.field, name, folder=self.field.send)
                self.assert_trouble(self.field, {("out", name): WAITING}, log=report)
                (self.field.send / name).unlink()
                self.ledger.pop()


class HttpsTest(ServerCases, HttpsHostTest):
    pass


class VsftpdTest(FtpTest):
    KIND = "vsftpd"


@slow
class PureFtpdTest(FtpTest):
    KIND = "pure-ftpd"


class ApacheTest(HttpsTest):
    KIND = "apache"


@slow
class NginxTest(HttpsTest):
    KIND = "nginx"


@slow
class LighttpdTest(HttpsTest):
    KIND = "lighttpd"

    def test_a_packet_takes_the_place_of_no_folder(self):
        """It goes into that folder, where the other side finds it by another name."""
        self.offer("SUB/a.mdb", b"waits")
        waiting = files_below(self.to_enterprise)
        self.send("SUB")
        there = files_below(self.to_enterprise / "SUB")
        self.assertEqual(sorted(there.values()), sorted([*waiting.values(), self.ledger[-1][2]]))


@slow
class RcloneTest(HttpsTest):
    KIND = "rclone"


del FtpTest, HttpsTest  # which have no server of their own
