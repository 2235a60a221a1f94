"""Many computers at once, and very large packets."""
import os
import shutil

from dav import HttpsHostTest
from ftp import FtpHostTest
from support import HostTest, Side, files_below, finish, sha256, slow, start

COMPUTERS = 24
PACKETS = 20  # of each
GB = 1 << 30
DEEP = "/".join(f"{level}" for level in range(10))


class ManyComputers:
    """Field computers that send at the same moment, each into a folder of its own, to an enterprise that receives."""

    def field_computers(self):
        for number in range(COMPUTERS):
            root = self.scratch / f"computer{number}"
            shutil.copytree(self.root, root)
            side = Side(root, "field")
            side.change("remote_send", self.remote_send(number))
            yield side

    @slow
    def test_many_computers_at_once(self):
        sides = list(self.field_computers())
        expected = {}
        for number, side in enumerate(sides):
            for packet in range(PACKETS):
                name = f"{DEEP}/{packet}.mdb"
                self.put(side, name, content=os.urandom(3000))
                expected[f"{number}/{name}"] = self.ledger.pop()[2]
        # Of several who make it at the same moment some would be refused, and send with their next run.
        self.to_enterprise.mkdir(exist_ok=True)
        self.own(self.to_enterprise)
        processes = [start("run", side.settings) for side in sides]
        while any(process.poll() is None for process in processes):
            self.enterprise.run()
        for process, side in zip(processes, sides):
            self.assertEqual(finish(process).code, 0, side.log)
        self.assert_run(self.enterprise)
        delivered = {name.lower(): digest for name, digest in files_below(self.enterprise.inbox).items()}
        self.assertEqual(delivered, expected)


class LargePacket:
    SIZE = 6 * GB
    MOST_MEMORY = 100 << 10  # KB

    @slow
    def test_a_packet_of_6_gb_takes_little_memory(self):
        path = self.field.outbox / "large.mdb"
        path.parent.mkdir(exist_ok=True)
        with path.open("wb") as file:
            file.truncate(self.SIZE)
            for offset in range(0, self.SIZE, GB // 3):
                file.seek(offset)
                file.write(os.urandom(1 << 20))
        digest = sha256(path)
        for side in (self.field, self.enterprise):
            process = start("run", side.settings)
            _, status, usage = os.wait4(process.pid, 0)
            self.assertEqual(os.waitstatus_to_exitcode(status), 0, side.log)
            self.assertLess(usage.ru_maxrss, self.MOST_MEMORY)
        self.assertEqual(sha256(self.enterprise.inbox / "large.mdb"), digest)


class FolderTest(ManyComputers, LargePacket, HostTest):
    def remote_send(self, number):
        return self.to_enterprise / str(number)


class FtpTest(ManyComputers, FtpHostTest):
    KIND = "pure-ftpd"

    def remote_send(self, number):
        return f"packets/to-enterprise/{number}"


class HttpsTest(ManyComputers, LargePacket, HttpsHostTest):
    def remote_send(self, number):
        return f"/to-enterprise/{number}"
