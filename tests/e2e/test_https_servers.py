"""Packets travel through WebDAV servers as administrators set them up, not as they come."""
import os

from dav import HttpsHostTest, PROXIES, SPARING
from support import Mount, files_below
from test_https import Transfers


class SetUp:
    """A server that is not as it comes; packets of all kinds travel through it, and newer ones replace them."""

    NAMES = ("a.mdb", "Gr\u00fc\u00dfe 1.xml", "SUB/DEEP/b.mdb", *(f"{number}.mdb" for number in range(10)))
    LARGE = 40 << 20  # the server is asked before one of that size is sent

    def test_packets_travel_both_ways(self):
        for side in (self.field, self.enterprise):
            self.put(side, *self.NAMES, content=b"a packet of text " * 3000)
            self.put(side, "large.mdb", content=os.urandom(self.LARGE))
        for side in (self.field, self.enterprise, self.field):
            self.assert_run(side)
        self.assert_delivered()
        self.assertEqual(files_below(self.server.packets), {})

    def test_a_newer_version_replaces_the_one_that_waits(self):
        self.send("a.mdb", "SUB/b.mdb")
        self.ledger.clear()
        self.deliver("a.mdb", "SUB/b.mdb")
        self.assertEqual(files_below(self.server.packets), {})


class SparingApacheTest(SetUp, HttpsHostTest):
    EXTRA = SPARING


class BehindProxyTest(SetUp, HttpsHostTest):
    """What ends the encryption leaves the header alone that says where a file moves to."""

    EXTRA = PROXIES
    PROXY = 9001
    test_what_was_damaged_makes_room = Transfers.test_what_was_damaged_on_the_server_is_not_delivered

    def setUp(self):
        super().setUp()
        self.use(self.server.url.replace(":8443", f":{self.PROXY}"))


class BehindRewritingProxyTest(BehindProxyTest):
    PROXY = 9002


class NginxTest(SetUp, HttpsHostTest):
    """What is sent lies on another volume at first, and is copied from there."""

    KIND = "nginx"
    EXTRA = "client_body_temp_path {folder}/../elsewhere;"

    def new_server(self):
        Mount(self, self.scratch / "elsewhere", "200M")
        return super().new_server()


class RcloneTest(SetUp, HttpsHostTest):
    KIND = "rclone"
