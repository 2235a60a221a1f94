"""What znhost verify says of WebDAV servers: of those that packets can use, and of those that break a promise."""
import contextlib
import os
import re
import signal
import time

from dav import HttpsHostTest, PROXIES, Refuser, SPARING, Server, Spoiler, Stranger
from support import finish, run, start

CHANGES = SPARING + """
RedirectMatch 301 "^(/dav/.*verify~[^/]*)$" "https://{address}:8443$1/"
<Location /dav>
    LimitRequestBody 5000000
</Location>
"""


class VerifyTest(HttpsHostTest):
    def verify(self, server, url=None, code=0):
        """What is noted, and what fails: {promise: "note" or "failed"}."""
        self.field.change("https.server", url or server.url)
        outcome = self.assert_ends(code, "verify", self.field.settings)
        self.assert_clean(server)
        self.said = outcome.output
        return {promise: kind for kind, promise in re.findall(r"(?m)^  (note|failed): ([a-z ]+):", outcome.output)}

    def assert_clean(self, server):
        self.assertEqual([*server.packets.rglob("verify~*")], [])

    def test_servers_that_packets_can_use(self):
        for kind, expected in (("apache", set()), ("nginx", set()), ("lighttpd", set()),
                               ("rclone", {"refusals", "cut uploads"})):
            with self.subTest(kind=kind):
                found = self.verify(Server(self, kind))
                # Whether somebody looks at the one moment is luck.
                self.assertEqual(found | {"readers": "note"}, dict.fromkeys(expected | {"readers"}, "note"), self.said)
                self.assertIn("The WebDAV server keeps what packets need.", self.said)

    def test_a_server_that_lacks_methods(self):
        found = self.verify(Server(self, "nginx_core"), code=1)
        self.assertEqual(found, {"connection": "failed"})
        self.assertIn("answers 405 to PROPFIND", self.said)
        self.assertIn("dav_ext_methods PROPFIND", self.said)

    def test_a_wrong_address_or_login(self):
        for url, text in ((self.server.url + "/nowhere", "-> Correct the address"),
                          (self.server.url, "Check the login")):
            self.assertEqual(self.verify(self.server, url, code=1), {"connection": "failed"})
            self.assertIn(text, self.said)
            self.assertNotIn("Switch WebDAV on", self.said)
            self.field.change("https.password", "wrong")

    def test_what_an_administrator_may_have_set(self):
        found = self.verify(Server(self, "apache", extra=CHANGES))
        self.assertEqual(found | {"readers": "note"}, {"redirects": "note", "large uploads": "note", "readers": "note"}, self.said)
        self.assertIn("Uploads of 8 MB are refused", self.said)

    def test_proxies_that_end_the_encryption(self):
        server = Server(self, "apache", extra=PROXIES)
        for port, expected, text in ((9001, {"move": "note"}, "RequestHeader edit Destination ^https: http: early"),
                                     (9002, {}, "A file can be moved."),
                                     (9003, {"compression": "failed"}, "Switch compression")):
            with self.subTest(port=port):
                found = self.verify(server, server.url.replace(":8443", f":{port}"), int("failed" in expected.values()))
                self.assertEqual({name: kind for name, kind in found.items() if name != "readers"}, expected, self.said)
                self.assertIn(text, self.said)

    def test_lies(self):
        def dropped(method, status, headers, content):
            for path in self.server.packets.rglob("*.mdb" if method == "PUT" else "nothing"):
                path.unlink()
            return status, headers, content

        for lie, promises, text in (
                (dropped, {"names"}, "but does not list it"),
                (lambda method, status, headers, content: (status, headers, content.replace(b">13<", b">12<")), {"names"},
                 "of 13 bytes, and lists it with 12"),
                (lambda method, status, headers, content: (status, headers, b"x" * len(content) if method == "GET" else content),
                 {"contents"}, "comes back with other bytes"),
                (lambda method, status, headers, content: (201 if method == "MOVE" else status, headers, content),
                 {"refusals", "one winner"}, "3 were told that they won")):
            with self.subTest(text=text):
                found = self.verify(self.server, Spoiler(self, self.server, lie=lie).url, 1)
                self.assertLessEqual(dict.fromkeys(promises, "failed").items(), found.items())
                self.assertIn(text, self.said)

    def test_a_clock_that_goes_wrong(self):
        lie = Spoiler(self, self.server, lie=lambda method, status, headers, content: (
            status, headers | {"Date": "Sat, 01 Jan 2000 00:00:00 GMT"}, content))
        self.assertEqual(self.verify(self.server, lie.url)["clock"], "note")

    def test_a_stranger_and_a_wrong_login(self):
        stranger = Stranger(self, secure=False)
        self.verify(self.server, Spoiler(self, self.server, f"redirect {stranger.url}", 1).url, 1)
        self.assertIn(f"leads to {stranger.url}", self.said)
        self.assertEqual(stranger.heard, b"")
        self.field.change("https.password", "wrong")
        self.verify(self.server, code=1)
        self.assertIn("Check the login", self.said)

    def test_an_answer_that_comes_too_late(self):
        """Most servers wait for a body; somebody before them may say that he waits, too."""
        spoiler = Spoiler(self, self.server)
        usual = spoiler.handle

        def drip(request):
            if int(request.headers.get("Content-Length", 0)) < 2 << 30:
                return usual(request)
            with contextlib.suppress(OSError):  # that the host has gone
                request.send_response_only(413)
                for _ in range(300):
                    request.send_header("X-Patience", "please")
                    request.flush_headers()
                    time.sleep(0.1)
                request.end_headers()
            return spoiler.drop(request)
        spoiler.handle = drip
        self.assertNotIn("large uploads", self.verify(self.server, spoiler.url), self.said)

    def test_readers_whose_connection_breaks(self):
        refuser = Refuser(self, self.server, "GET", "/read.mdb", 0)
        self.assertEqual(self.verify(self.server, refuser.url), {"readers": "note"})

    def test_folders_without_rights(self):
        for folder, promise in ((self.to_enterprise, "send folder"), (self.to_field, "receive folder")):
            with self.subTest(promise=promise):
                folder.mkdir(exist_ok=True)
                os.chown(folder, 0, 0)
                self.assertEqual(self.verify(self.server, code=1)[promise], "failed", self.said)
                self.server.own(folder)

    def test_one_at_a_time(self):
        outcomes = []
        spoiler = Spoiler(self, self.server, "stop", 60, lambda: outcomes.append(run("verify", self.field.settings)))
        self.verify(self.server, spoiler.url)
        self.assertEqual([outcome.code for outcome in outcomes], [1])
        self.assertIn("goes on. Begin again when it has ended", outcomes[0].output)

    def test_what_a_killed_one_leaves_is_no_packet(self):
        process = None

        def end_with_claim(request, body, ask):
            if request.command != "DELETE" or not request.path.endswith("/claimed.mdb"):
                return ask(request, body)
            process.kill()
            process.wait()
            return 500, {}, b""
        self.field.change("https.server", Spoiler(self, self.server, instead=end_with_claim).url)
        process = start("verify", self.field.settings)
        finish(process)
        self.assertTrue([*self.server.packets.glob("*.claims/verify~*/claimed.mdb")])
        self.field.change("https.server", self.server.url)
        self.assertIn("Nobody holds packets", self.assert_ends(0, "release", self.field.settings).output)
        self.verify(self.server)

    def test_ctrl_c(self):
        process = None
        spoiler = Spoiler(self, self.server, "stop", 30, lambda: process.send_signal(signal.SIGINT))
        self.field.change("https.server", spoiler.url)
        process = start("verify", self.field.settings)
        outcome = finish(process)
        self.assertEqual(outcome.code, 1, outcome)
        self.assertIn("stopped by the user", outcome.errors)
        self.assert_clean(self.server)
