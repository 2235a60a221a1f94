"""Packets through real WebDAV servers, and what goes wrong with those."""
import base64
import functools
import hashlib
import http.client
import os
import random
import shutil
import signal
import time

from dav import HttpsHostTest, PASSWORD, PLAIN_PORT, Server, Spoiler, Stranger, USER, UsualPort
from support import Mount, Side, WAITING, count_below, files_below, finish, slow, start, wait_until

MODES = ("refuse", "lose", "gateway", "before", "after")


class Transfers:
    """What holds with every server."""

    def test_what_was_damaged_on_the_server_is_not_delivered(self):
        self.send("a.mdb")
        packet = self.to_enterprise / "a.mdb"
        content = packet.read_bytes()
        packet.write_bytes(content[:-1] + bytes([content[-1] ^ 1]))
        self.assert_run(self.enterprise, 1, log="is not what was sent")
        self.assertEqual(files_below(self.enterprise.inbox), {})
        told = self.assert_ends(1, "status", self.enterprise.settings).output
        self.assertIn(", incomplete\nfailed: What came of file a.mdb", told)
        self.assertNotIn("The transfer failed", told)
        # Sent anew, it takes the place of the damaged one.
        self.ledger.clear()
        self.send("a.mdb")
        self.assert_run(self.enterprise, 1)
        self.assert_delivered()
        self.assertEqual(len(files_below(self.to_enterprise.with_name("to-enterprise.damaged"))), 1)
        self.deliver("b.mdb")

    def test_a_newer_version_in_other_letters_replaces_the_older_one(self):
        self.send("PLAN.MDB", "SUB/a.mdb", "SUB/DEEP/b.mdb")
        waiting = files_below(self.to_enterprise).keys()
        for folder in (self.field.send, self.field.outbox / "SUB"):
            shutil.rmtree(folder)
        self.ledger.clear()
        self.send("plan.mdb", "Sub/A.mdb", "sub/Deep/b.mdb")
        self.assertEqual(files_below(self.to_enterprise).keys(), waiting)
        self.assert_run(self.enterprise)
        self.assertEqual(sorted(files_below(self.enterprise.inbox).values()), sorted(digest for *_, digest in self.ledger))

    def test_the_usual_port(self):
        """Some servers compare where a request came to with where it leads."""
        self.use(UsualPort(self, self.server).url)
        self.deliver("a.mdb", "SUB/b.mdb")
        self.assertEqual(files_below(self.server.packets), {})


class RefusalTest(HttpsHostTest):
    def test_a_server_that_answers_all_but_moves(self):
        """None of them is waited for longer than it takes to see that."""
        self.put(self.field, *(f"{number}.mdb" for number in range(8)))
        for side in (self.field, self.enterprise):
            with self.subTest(side=side.name), self.refusing("MOVE", status=0) as refuser:
                self.assert_trouble(side, log="answers, but not to MOVE. The next transfer tries again.")
                self.assertEqual(len(set(refuser.refused)), 3)
            self.assert_run(side)
        self.assert_delivered()

    def test_a_line_that_spoils_what_is_encrypted(self):
        self.send("a.mdb", content=random.Random(1).randbytes(200_000))
        self.use(UsualPort(self, self.server, lambda data: data[:-9] + b"x" + data[-8:] if len(data) > 8000 else data).url)
        self.assert_run(self.enterprise, 1, log="the encryption of the connection failed (0x")
        self.use(self.server.url)
        self.assert_received()

    def test_a_wrong_password(self):
        self.assertIn("the WebDAV server takes the login", self.assert_ends(0, "doctor", self.field.settings).output)
        self.field.change("https.password", "wrong")
        self.assert_waits("answers 401", "Check the login")
        self.assertIn("to do remote: there is no connection to the WebDAV server",
                      self.assert_ends(1, "doctor", self.field.settings).output)
        self.field.change("https.password", "secret")
        self.assert_next_cycle_delivers()

    def test_an_address_without_webdav(self):
        self.use(self.server.url.replace("/dav", "/nothing"))
        self.assert_waits("answers 403")

    def test_a_server_that_does_not_run(self):
        self.server.kill()
        self.assert_waits("cannot be reached")
        self.assertIn("cannot be reached", self.assert_ends(1, "status", self.field.settings).output)
        self.server.start()
        self.assert_next_cycle_delivers()

    def test_a_packet_that_is_too_large(self):
        """The others go. Of one that is refused before it has been sent the answer may get lost."""
        self.put_many(4, 1000, None)
        large = [f"2large{number}.mdb" for number in range(3)]
        self.put(self.field, *large, content=os.urandom(3 << 20))
        with self.spoiling(largest=1 << 20) as spoiler:
            answer = spoiler.answer
            spoiler.answer = lambda *what: (time.sleep(0.6), answer(*what))  # a line by satellite
            self.assert_trouble(self.field, {("out", f"{number}.mdb"): "sent" for number in range(4)} |
                                {("out", name): WAITING for name in large})
        for name in large:
            self.assertIn(f"Failed to transmit file {name}", self.field.log)
        self.assertIn("limit for the body of a request", self.field.log)
        self.assert_next_cycle_delivers()

    def test_a_very_large_packet_is_asked_for_first(self):
        """Where a body is refused before it was sent, the status gets lost."""
        for number, size in enumerate((33, 40, 35)):
            self.put(self.field, f"{number}.mdb", content=os.urandom(1 << 20) * size)
        with self.spoiling(largest=36 << 20):
            self.assert_trouble(self.field, {("out", "0.mdb"): "sent", ("out", "1.mdb"): WAITING, ("out", "2.mdb"): "sent"})
        self.assertIn("answers 413 to PUT", self.field.log)
        self.assert_next_cycle_delivers()

    def test_a_stranger_hears_nothing(self):
        """Somebody whose certificate the system does not trust, or whom a server that it trusts leads to."""
        for number, certificate in enumerate(({"signed": False}, {"name": "elsewhere"}, {"days": -1})):
            with self.subTest(**certificate):
                stranger = Stranger(self, **certificate)
                self.use(stranger.url)
                self.put(self.field, f"{number}.mdb")
                self.assert_run(self.field, 1, log="no encrypted connection came about")
                self.assertEqual(stranger.heard, b"")
        stranger = Stranger(self, secure=False)
        with self.spoiling(f"redirect {stranger.url}", 1):
            self.assert_run(self.field, 1)
        self.assertIn("it leads to another address", self.field.log)
        self.assertEqual(stranger.heard, b"")
        self.assert_nothing_lost()


class SpoiledRequests:
    """A line that dies at any request, and a host that ends there: nothing is lost, and the next runs go on."""

    PACKETS = 2
    SOME = 3

    def requests_of(self, side):
        with self.spoiling() as spoiler:
            self.assert_run(side)
        return spoiler.count

    def spoil(self, side, mode, number):
        process = None
        with self.spoiling(mode, number, lambda: (process.kill(), process.wait())) as spoiler:
            process = start("run", side.settings)
            outcome = finish(process)
        spoiler.close()  # hundreds that went on listening would take all time
        self.assertGreaterEqual(spoiler.count, number, outcome)
        self.assert_nothing_lost()
        self.assert_only_whole_packets()

    def assert_only_whole_packets(self):
        for folder in (self.to_enterprise, self.enterprise.receive, self.enterprise.inbox):
            for name, digest in files_below(folder).items():
                self.assertIn((self.field, name, digest), self.ledger)

    def spoil_each(self, numbers, side):
        """One pair of installations for all: each run begins with new packets."""
        for mode, number in numbers:
            with self.subTest(side=side.name, mode=mode, number=number):
                for count in range(self.PACKETS):
                    self.put(self.field, f"{side.name}-{mode}{number}-{count}.mdb", content=os.urandom(3000))
                if side is self.enterprise:
                    self.assert_run(self.field)
                self.spoil(side, mode, number)
                # Where the answer to a MOVE or DELETE was lost, a packet may travel twice.
                self.field.run()
                self.assert_received()
                self.assertEqual(files_below(self.server.packets), {})

    def chosen(self, count):
        return [(mode, number) for mode in MODES for number in range(1, count + 1)]

    def counts(self):
        """Of the requests of a run whose folders are there already."""
        for name in ("first", "later"):
            for number in range(self.PACKETS):
                self.put(self.field, f"{name}{number}.mdb")
            counts = [self.requests_of(side) for side in (self.field, self.enterprise)]
        return counts

    def test_some_requests(self):
        seed = random.randrange(1 << 32)
        print(f"seed {seed}", flush=True)
        choice = random.Random(seed)
        for side, count in zip((self.field, self.enterprise), self.counts()):
            self.spoil_each(choice.sample(self.chosen(count), self.SOME), side)

    @slow
    def test_every_request(self):
        self.PACKETS = 20
        for side, count in zip((self.field, self.enterprise), self.counts()):
            self.spoil_each(self.chosen(count), side)


class LiesTest(HttpsHostTest):
    """A server that says what is not so: nothing of it is delivered, nothing is written elsewhere, nothing is lost."""

    NAMES = ("..%2f..%2fevil.mdb", "%2e%2e", "a%5c..%5cevil.mdb", "C:evil.mdb", "CON", "evil.mdb:stream", "evil.mdb.", "%00evil.mdb",
             "%ff", "%e")
    LISTS = (b"\0\xff" * 1000, b"", b"<html>Please log in</html>", b'<D:multistatus xmlns:D="DAV:"><D:response>',
             b'<!DOCTYPE a [<!ENTITY b "c">]><D:multistatus xmlns:D="DAV:">&b;</D:multistatus>', b"<a>" * 100_000)

    def receive_under(self, lie, *texts):
        before = files_below(self.scratch / "pair")
        with self.spoiling(lie=lie):
            outcome = self.assert_run(self.enterprise, 1)
        for text in texts:
            self.assertIn(text, self.enterprise.log, outcome)
        changed = files_below(self.scratch / "pair").items() - before.items()
        self.assertFalse([name for name, _ in changed if name.endswith((".mdb", ".arriving"))], changed)
        self.assertFalse(list(self.scratch.rglob("*evil*")))
        self.assert_nothing_lost()

    def test_half_of_what_tells_of_the_packets_is_stored(self):
        def store_half(request, body, ask):
            if not request.path.endswith(".digests"):
                return ask(request, body)
            request.headers.replace_header("Content-Length", str(len(body) // 2))
            return ask(request, body[:len(body) // 2])
        self.put(self.field, "a.mdb")
        with self.spoiling(instead=store_half):
            self.assert_trouble(self.field, {("out", "a.mdb"): WAITING}, "took them, but does not list all of their")
        self.assert_next_cycle_delivers()

    def test_content_that_somebody_between_has_kept(self):
        """Of the version before."""
        kept = {}

        def keep(request, body, ask):
            if request.command != "GET" or "no-cache" in request.headers.get("Cache-Control", ""):
                return ask(request, body)
            return kept[request.path] if request.path in kept else kept.setdefault(request.path, ask(request, body))
        with self.spoiling(instead=keep):
            for _ in range(2):
                self.ledger.clear()
                self.deliver("a.mdb")

    def test_names_and_lists(self):
        self.send("a.mdb")
        for name in self.NAMES:
            with self.subTest(name=name):
                self.receive_under(lambda method, status, headers, content, name=name: (
                    status, headers, content.replace(b"/a.mdb<", b"/" + name.encode() + b"<")), "cannot be the name of a file")
        for content in self.LISTS:
            with self.subTest(list=content[:40]):
                self.receive_under(lambda method, status, headers, answer, content=content: (
                    status, headers, content if method == "PROPFIND" else answer), "The server's list of the folder cannot be used")
        self.assert_received()

    def test_contents(self):
        self.send("a.mdb")

        def lie(bend):
            return lambda method, status, headers, content: bend(headers, content) if method == "GET" and len(content) == 20_000 else (
                status, headers, content)
        for text, bend in (("is not what was sent", lambda headers, content: (200, headers, content[:-1] + bytes([content[-1] ^ 1]))),
                           ("is not what was sent", lambda headers, content: (200, headers, content[:-1])),
                           ("is not what was sent", lambda headers, content: (200, headers, b"")),
                           ("answers 404", lambda headers, content: (404, {}, b""))):
            with self.subTest(text=text):
                self.receive_under(lie(bend), text)
        self.assert_received()

    def test_notes_that_cannot_be_read(self):
        """As after a loss of power on the server, or of a later version of the product."""
        uploads = self.to_enterprise.with_name("to-enterprise.uploads")

        def damage(note):
            note.write_bytes(b"")
            return note

        def replace(note):
            text = note.read_bytes().replace(b"digests 1", b"digests 2", 1)
            note.unlink()
            note = uploads / f"{hashlib.sha256(text).hexdigest()}.digests"
            note.write_bytes(text)
            return note
        for spoil in (damage, replace):
            with self.subTest(spoil.__name__):
                self.ledger.clear()
                self.deliver("a.mdb")
                older = files_below(self.enterprise.inbox)
                self.send("a.mdb")
                (self.to_enterprise / "a.mdb").write_bytes(b"")
                [note] = uploads.glob("*.digests")
                note = spoil(note)
                self.assert_run(self.enterprise, 1, log=f"note to-enterprise.uploads/{note.name} is damaged")
                self.assertEqual((files_below(self.enterprise.inbox), files_below(self.to_enterprise).keys()), (older, {"a.mdb"}))
                self.ledger.clear()
                self.send("a.mdb")
                note.unlink()
                self.assert_received()
        self.send("b.mdb")
        self.receive_under(lambda method, status, headers, content: (
            (404, {}, b"") if b"digests 1" in content else (status, headers, content)), "The digests of the packets cannot be read")
        self.assert_received()

    def test_the_length_of_what_has_no_note(self):
        self.send("a.mdb")
        for note in self.server.packets.glob("*.uploads/*.digests"):
            note.unlink()
        self.receive_under(lambda method, status, headers, content: (
            (200, {}, b"<html>Please log in</html>") if method == "GET" else (status, headers, content)),
            "lists file a.mdb with another length than the 26 bytes that came")
        self.assert_received()
        # Listed before it was replaced.
        packet = self.put(self.field, "b.mdb", folder=self.to_enterprise)
        self.server.own(packet)
        spoiler = Spoiler(self, self.server)
        spoiler.before("MOVE", "/b.mdb", lambda: packet.write_bytes(b"newer"))
        with self.through(spoiler):
            self.assert_run(self.enterprise)
        self.assertEqual((self.enterprise.inbox / "b.mdb").read_bytes(), b"newer")

    def test_what_was_not_stored_is_not_deleted(self):
        def lie(method, status, headers, content):
            return status, headers, content.replace(b"20000</", b"19999</")
        self.put(self.field, "a.mdb")
        with self.spoiling(lie=lie):
            self.assert_trouble(self.field, {("out", "a.mdb"): WAITING})
        self.assertIn("does not list all of its 20000 bytes", self.field.log)
        self.assert_next_cycle_delivers()

    def test_a_page_that_answers_in_its_place_is_no_success(self):
        """Such as the login to a network, which may end in the middle of a transfer."""
        page = 200, {"Content-Type": "text/html"}, b"<html>Please log in</html>"

        def answering(method, ending=""):
            return self.spoiling(instead=lambda request, body, ask: (
                page if request.command == method and request.path.endswith(ending) else ask(request, body)))
        for method, ending in (("MOVE", ""), ("PUT", ".digests"), ("PUT", "")):
            with self.subTest(method=method, ending=ending):
                self.put(self.field, "a.mdb")
                with answering(method, ending):
                    self.assert_trouble(self.field, {("out", "a.mdb"): WAITING})
                self.assertIn(f"answers 200 to {method}", self.field.log)
                self.assert_next_cycle_delivers()
                self.ledger.clear()
        self.send("a.mdb")
        with answering("DELETE"):
            self.assert_trouble(self.enterprise, {("in", "a.mdb"): "delivered"}, "answers 200 to DELETE")
        # One who says no more than that of what he has done is looked after.
        self.ledger.clear()
        with self.spoiling(lie=lambda method, status, headers, content: (
                page if method in ("PUT", "MOVE", "DELETE") else (status, headers, content))):
            self.deliver("b.mdb")
        self.assertEqual(files_below(self.server.packets), {})


class ContinuedDownloadTest(HttpsHostTest):
    SIZE = 2 << 20

    def setUp(self):
        super().setUp()
        self.send("a.mdb", content=os.urandom(self.SIZE))

    def receive(self, code, cuts, then=None):
        """Cuts the first answers with a packet after nine tenths. Returns how much each of these answers held."""
        came = []

        def lie(method, status, headers, content):
            if method != "GET" or len(content) < self.SIZE // 20:
                return status, headers, content
            came.append(len(content))
            if len(came) <= cuts:
                return status, headers | {"Content-Length": len(content)}, content[:len(content) * 9 // 10]
            return then or (status, headers, content)
        with self.spoiling(lie=lie):
            self.assert_run(self.enterprise, code)
        return came

    def part(self):
        part, = self.enterprise.receive.with_name("receive.https").glob("*.part")
        return part

    def test_in_the_same_transfer(self):
        self.assertEqual(self.receive(0, cuts=1), [self.SIZE, self.SIZE - self.SIZE * 9 // 10])
        self.assert_delivered()

    def test_in_the_next_transfer(self):
        self.receive(1, cuts=1, then=(503, {}, b""))
        self.assertEqual(self.receive(0, cuts=0), [self.SIZE - self.SIZE * 9 // 10])
        self.assert_delivered()

    def test_not_with_what_became_wrong(self):
        for spoil in (lambda: self.part().write_bytes(bytes(1000)), lambda: self.part().write_bytes(bytes(2 * self.SIZE))):
            self.receive(1, cuts=1, then=(503, {}, b""))
            spoil()
            self.assertEqual(self.receive(0, cuts=0)[-1], self.SIZE)
            self.assert_delivered()
            self.ledger.clear()
            self.send("a.mdb", content=os.urandom(self.SIZE))

    def test_not_without_end(self):
        self.receive(1, cuts=1, then=(503, {}, b""))
        claim, = self.server.packets.glob("*.claims/*/a.mdb")
        claim.write_bytes(bytes(self.SIZE))
        self.assertLessEqual(self.receive(1, cuts=100).count(self.SIZE), 2)
        self.assertIn("is not what was sent", self.enterprise.log)

    def test_not_where_nobody_tells_what_it_must_be(self):
        for note in self.server.packets.glob("*.uploads/*.digests"):
            note.unlink()
        self.receive(1, cuts=1)
        self.assertEqual(self.receive(0, cuts=0), [self.SIZE])
        self.assert_delivered()

    def test_not_with_another_version(self):
        self.receive(1, cuts=1, then=(503, {}, b""))
        claim, = self.server.packets.glob("*.claims/*/a.mdb")
        claim.unlink()
        self.ledger.clear()
        self.send("a.mdb", content=os.urandom(self.SIZE))
        self.assertEqual(self.receive(0, cuts=0), [self.SIZE])
        self.assert_delivered()
        self.assertFalse(files_below(self.server.packets))

    def test_not_with_another_version_whose_part_was_left(self):
        """Something else held the part when it should go, and the host ends with the claim of the newer version."""
        older = (self.to_enterprise / "a.mdb").read_bytes()
        self.receive(1, cuts=1, then=(503, {}, b""))
        part = self.part()
        claim, = self.server.packets.glob("*.claims/*/a.mdb")
        claim.unlink()
        self.ledger.clear()
        self.send("a.mdb", content=os.urandom(self.SIZE))
        self.end_with_a_claim(lambda spoiler: spoiler.before(
            "PROPFIND", "/to-enterprise/", lambda: part.write_bytes(older)))
        self.assertTrue(claim.exists())
        self.assert_received()


class LeftoversTest(HttpsHostTest):
    def other_enterprise(self):
        """That receives from the same folder."""
        shutil.copytree(self.root, self.scratch / "other")
        return Side(self.scratch / "other", "enterprise")

    def claim(self, *names):
        """Packets that the enterprise has claimed and could not fetch; the folder of its claims."""
        self.send(*names)
        with self.refusing("GET", ".claims"):
            self.assert_run(self.enterprise, 1)
        claims, = self.server.packets.glob("*.claims/*")
        return claims

    def test_notes_stay_while_somebody_needs_them(self):
        other = self.other_enterprise()
        self.send("a.mdb")
        # Ended with a claim: its own next run has to know what it must be.
        self.end_with_a_claim()
        claim, = self.server.packets.glob("*.claims/*/a.mdb")
        claim.write_bytes(b"damaged")
        self.assertEqual(other.run().code, 0, other.log)
        self.assert_run(self.enterprise, 1, log="is not what was sent")
        self.assertEqual(files_below(self.enterprise.inbox), {})

    def test_a_folder_of_claims_has_the_name_of_a_packet(self):
        self.deliver("x/a.mdb")
        for folder in (self.enterprise.inbox, self.enterprise.receive, self.field.sent, self.field.send, self.to_enterprise):
            shutil.rmtree(folder / "x", ignore_errors=True)
        (self.field.outbox / "x").rmdir()
        self.ledger.clear()
        self.send("x")
        self.assert_trouble(self.enterprise, log=".claims/")
        folder, = self.server.packets.glob("*.claims/*/x")
        self.assertIn(f"{folder.relative_to(self.server.packets)} has its name", self.enterprise.log)
        folder.rmdir()
        self.assert_received()

    def test_a_claim_comes_before_what_has_its_name_in_other_letters(self):
        claim = (self.claim("A.mdb") / "A.mdb").read_bytes()
        self.ledger.clear()
        self.send("a.mdb")
        with self.spoiling(lie=lambda method, status, headers, content: (
                (503, {}, b"") if method == "GET" and claim in content else (status, headers, content))):
            self.assert_run(self.enterprise, 1)
        self.assertEqual(files_below(self.enterprise.inbox), {})
        self.assert_run(self.enterprise)
        self.assertEqual([*files_below(self.enterprise.inbox).values()], [self.ledger[0][2]])

    def test_claims_of_one_who_does_not_come_back(self):
        self.send("a.mdb", "SUB/b.mdb")
        self.assertIn("Nobody holds packets", self.assert_ends(0, "release", self.enterprise.settings).output)
        claims = self.to_enterprise.with_name("to-enterprise.claims")
        shutil.copytree(self.to_enterprise, claims / "GONE-1")
        self.server.own(claims, *claims.rglob("*"))
        for path in list(self.to_enterprise.rglob("*.mdb")):
            path.unlink()
        newer = self.put(self.field, "a.mdb", folder=self.to_enterprise)
        self.server.own(newer)
        self.assertIn("GONE-1 holds packets: 2", self.assert_ends(0, "release", self.enterprise.settings).output)
        self.assert_ends(1, "release", self.enterprise.settings, "NOBODY")
        self.assertIn("No installation NOBODY holds packets on the server.", self.enterprise.log)
        # A part of the claims that cannot be seen stays with its note.
        with self.refusing("PROPFIND", "GONE-1/SUB"):
            self.assert_ends(1, "release", self.enterprise.settings, "gone-1")
            self.assertIn("to-enterprise/a.mdb was sent anew meanwhile", self.enterprise.log)
            newer.unlink()
            self.ledger.pop()
            self.assert_ends(1, "release", self.enterprise.settings, "GONE-1")
            self.assertIn("answers 502 to PROPFIND to-enterprise.claims/GONE-1/SUB", self.enterprise.log)
            self.assert_run(self.enterprise)
        self.assertEqual(len([*self.server.packets.glob("*.uploads/*.digests")]), 1)
        self.assert_ends(0, "release", self.enterprise.settings, "GONE-1")
        self.assert_received()

    def test_claims_from_before_the_computer_was_renamed(self):
        claims = self.claim("a.mdb")
        renamed = claims.rename(claims.with_name("BEFORE-" + claims.name.rpartition("-")[2]))
        installation = self.enterprise.receive.with_name("receive.https") / "installation.txt"
        number, _, path = installation.read_text("utf-8").split("\t")
        installation.write_text("\t".join((number, "BEFORE", path)), "utf-8")
        self.assert_run(self.enterprise, 1, log=f"claimed as {renamed.name}: 1. The folder")
        self.assert_ends(0, "release", self.enterprise.settings, renamed.name)
        self.assert_run(self.enterprise)
        self.assert_received()

    def test_a_claim_is_not_released_over_what_others_received(self):
        other = self.other_enterprise()
        claims = self.claim("a.mdb")
        older = set(self.server.packets.glob("*.uploads/*.digests"))
        self.send("a.mdb")
        newer, = set(self.server.packets.glob("*.uploads/*.digests")) - older
        self.assertEqual(other.run().code, 0, other.log)
        with self.refusing("GET", newer.name):
            self.assert_ends(1, "release", self.enterprise.settings, claims.name)
        self.assertIn("The digests of the packets cannot be read from the server", self.enterprise.log)
        self.assert_ends(1, "release", self.enterprise.settings, claims.name)
        self.assertIn("is not known to be the latest", self.enterprise.log)
        self.assertEqual(len(files_below(claims)), 1)

    def test_the_latest_version_is_what_was_sent_last(self):
        """Its file may be older, as one that comes from a backup is."""
        other = self.other_enterprise()
        claims = self.claim("a.mdb")
        os.utime(self.put(self.field, "a.mdb", folder=self.field.send), (1e9, 1e9))
        self.assert_run(self.field)
        self.assertEqual(other.run().code, 0, other.log)
        self.assert_ends(1, "release", self.enterprise.settings, claims.name)
        self.assertIn("is not known to be the latest", self.enterprise.log)
        self.assertEqual((len(files_below(claims)), files_below(self.to_enterprise)), (1, {}))

    def test_a_claim_is_released_though_an_older_version_never_took_its_name(self):
        self.put(self.field, "a.mdb")
        with self.refusing("MOVE"):
            self.assert_run(self.field, 1)
        self.ledger.clear()
        time.sleep(1)  # in which servers tell what is later
        self.assert_ends(0, "release", self.enterprise.settings, self.claim("a.mdb").name)
        self.assertTrue((self.to_enterprise / "a.mdb").exists())
        self.assert_received()

    def test_a_claim_is_not_released_over_what_others_receive_meanwhile(self):
        """While the notes are read, while it is compared, and while it is moved."""
        other = self.other_enterprise()
        names = ("notes.mdb", "content.mdb", "move.mdb")
        self.put(self.field, *names)
        with self.refusing("MOVE"):
            self.assert_run(self.field, 1)
        claims = self.claim(*names)

        def receive_newer(name):
            self.send(name)
            self.assertEqual(other.run().code, 0, other.log)
        failures = [(500, {}, b"")]
        spoiler = Spoiler(self, self.server, instead=lambda request, body, ask: (
            failures.pop() if failures and request.command == "PROPFIND" and (self.to_enterprise / "move.mdb").exists()
            else ask(request, body)))
        for name, moment in zip(names, (("GET", ".digests"), ("GET", "/content.mdb"), ("MOVE", "/move.mdb"))):
            spoiler.before(*moment, functools.partial(receive_newer, name))
        self.enterprise.change("https.server", spoiler.url)
        self.assert_ends(1, "release", self.enterprise.settings, claims.name)
        self.assertEqual(files_below(other.inbox).keys(), set(names))
        self.assertEqual((files_below(claims).keys(), files_below(self.to_enterprise)), (set(names), {}))
        self.assertEqual(self.enterprise.log.count("is not known to be the latest"), 3)
        # A server may have replaced the newer one meanwhile.
        self.assertEqual(self.enterprise.log.count("Look whether the newer one is received"), 1)

    def test_notes_stay_with_packets_that_come_back(self):
        """A claim is given back, and a packet travels again, when somebody has looked for them and found none."""
        claims = self.to_enterprise.with_name("to-enterprise.claims")
        uploads = self.to_enterprise.with_name("to-enterprise.uploads")

        def claimed():
            self.assert_run(self.field)
            self.to_enterprise.rename(claims / "GONE-1")
            self.to_enterprise.mkdir()
            self.server.own(claims, self.to_enterprise)
            return lambda: (claims / "GONE-1" / "claimed.mdb").rename(self.to_enterprise / "claimed.mdb")

        def half_sent():
            with self.refusing("MOVE", "~"):
                self.assert_run(self.field, 1)
            next(uploads.glob("*~*")).unlink()
            return lambda: self.assert_run(self.field)

        claims.mkdir(parents=True)
        for prepare in (claimed, half_sent):
            with self.subTest(prepare.__name__):
                self.put(self.field, f"{prepare.__name__}.mdb")
                spoiler = Spoiler(self, self.server)
                spoiler.before("PROPFIND", ".claims/", prepare())
                self.enterprise.change("https.server", spoiler.url)
                self.assert_run(self.enterprise)
                self.assertEqual((len(files_below(self.to_enterprise)), len([*uploads.glob("*.digests")])), (1, 1))
                self.assert_received()
                self.assertEqual(files_below(self.server.packets), {})

    def test_what_cannot_be_seen_or_told_apart_keeps_nothing_else_back(self):
        self.send("a.mdb", "b.mdb", "week.uploads", "CLOSED/c.mdb")
        closed = self.to_enterprise / "CLOSED"
        closed.chmod(0)
        twin = self.to_enterprise / "A.mdb"
        twin.write_bytes(b"which of both is newer?")
        self.server.own(twin)
        self.ledger.pop(0)
        self.send("a.mdb")
        self.assertEqual(twin.read_bytes(), b"which of both is newer?")
        claims = self.to_enterprise.with_name("to-enterprise.claims")
        claims.mkdir()
        (claims / "Thumbs.db").write_bytes(b"")
        (self.to_enterprise / "~1-2.arriving").write_bytes(b"half")
        (self.to_enterprise / "RWD_TestFile.txt").write_bytes(b"")
        (self.enterprise.send / "sub").mkdir(parents=True)
        (self.enterprise.send / "sub" / "RWD_TestFile.txt").write_bytes(b"")
        self.server.own(claims)
        process = start("run", self.enterprise.settings, "--every", "1h")
        wait_until(lambda: b"\n" in os.pread(process.outputs["stdout"].fileno(), 1000, 0), process)
        process.send_signal(signal.SIGINT)
        self.assertRegex(finish(process).output, r"2 delivered, 0 left behind; The server .* \(and 2 more\)\n")
        self.assertFalse(files_below(self.to_field))
        self.assertEqual(files_below(self.enterprise.inbox).keys(), {"b.mdb", "week.uploads"})
        closed.chmod(0o755)
        twin.unlink()
        self.assert_received()

    def test_an_account_that_may_not_see_the_claims(self):
        uploads = self.to_enterprise.with_name("to-enterprise.uploads")
        uploads.mkdir()
        for number in range(30):
            (uploads / f"{number}.digests").write_bytes(b"")
        self.server.own(uploads, *uploads.iterdir())
        self.field.change("https.server", Spoiler(self, self.server, instead=lambda request, body, ask: (
            (403, {}, b"") if "enterprise.claims" in request.path else ask(request, body))).url)
        self.deliver("a.mdb")

    def test_notes_do_not_pile_up(self):
        """Where packets are taken from the server's disk, nobody else removes the notes."""
        uploads = self.to_enterprise.with_name("to-enterprise.uploads")
        self.send("a.mdb")
        for number in range(30):
            (uploads / f"{number}.digests").write_bytes(b"")
            self.server.own(uploads / f"{number}.digests")
        (uploads / "verify~GONE-1").mkdir()  # of a test that was killed
        self.send("b.mdb")
        self.assertEqual(len(files_below(uploads)), 32)
        # One that is given back at this moment waits, too.
        claim = self.to_enterprise.with_name("to-enterprise.claims") / "GONE-1" / "a.mdb"
        claim.parent.mkdir(parents=True)
        (self.to_enterprise / "a.mdb").rename(claim)
        (self.to_enterprise / "b.mdb").unlink()
        self.server.own(claim.parent.parent, claim.parent)
        with self.spoiling() as spoiler:
            spoiler.before("PROPFIND", ".claims/", lambda: claim.rename(self.to_enterprise / "a.mdb"))
            self.send("c.mdb")
        self.assertEqual(len(files_below(uploads)), 33)
        for path in self.to_enterprise.iterdir():
            path.unlink()
        self.ledger.clear()
        self.send("d.mdb")
        self.assertEqual(len(files_below(uploads)), 1)
        self.assert_received()

    def test_what_cannot_be_stored_is_left_to_others(self):
        self.put_many(6, 400_000, None)
        self.assert_run(self.field)
        volume = Mount(self, self.scratch / "volume", "1m")
        self.enterprise.receive = volume.folder / "receive"
        self.enterprise.change("receive", self.enterprise.receive)
        self.assert_trouble(self.enterprise)
        self.assertRegex(self.enterprise.log, r"There is no room in .*receive\.https for packets on the server: 4, such as "
                                              r"\d\.mdb with 400000 bytes")
        self.assertEqual(len(files_below(self.to_enterprise)), 4)
        volume.remount("size=8m")
        self.assert_received()
        # One that was claimed while there was room keeps nothing smaller back.
        self.send("large.mdb", content=os.urandom(2_000_000))
        with self.refusing("GET", ".claims"):
            self.assert_run(self.enterprise, 1)
        volume.remount("size=1m")
        self.send("small.mdb")
        self.assert_trouble(self.enterprise, {("in", "small.mdb"): "delivered"})
        self.assertEqual([path.name for path in self.server.packets.glob("*.claims/*/*")], ["large.mdb"])
        volume.remount("size=8m")
        self.assert_received()


class SubFolderTest(HttpsHostTest):
    """Each field computer sends into a sub-folder of its own of what the enterprise receives, and reaches no other one."""

    LOGIN, EXAMINATIONS = "basic", ("verify", "doctor")
    ACCOUNTS = """
<Location /dav>
    Require user packets
</Location>
<LocationMatch "^/dav/(to-enterprise/field7([.]uploads)?|to-field/field7([.](uploads|claims|damaged))?)(/|$)">
    Require user packets field7
</LocationMatch>
"""

    def new_server(self):
        server = Server(self, self.KIND, "--login", self.LOGIN, extra=self.ACCOUNTS)
        basic, digest = server.folder / "passwords", server.folder / "digests"
        basic.write_text(basic.read_text() + basic.read_text().replace(USER, "field7"))
        digest.write_text(digest.read_text() + f"field7:packets:{hashlib.md5(f'field7:packets:{PASSWORD}'.encode()).hexdigest()}\n")
        for name in ("to-enterprise", "to-field"):
            (server.packets / name).mkdir()
            server.own(server.packets / name)
        return server

    def connect(self, side, other):
        super().connect(side, other)
        side.change("https.login", self.LOGIN)
        if side is self.field:
            side.change("remote_send", "/to-enterprise/field7")
            side.change("remote_receive", "to-field/field7")
            side.change("https.user", "field7")

    def test_examinations(self):
        for command in self.EXAMINATIONS:
            self.assert_ends(0, command, self.field.settings)

    def test_packets_arrive_from_it(self):
        uploads = self.to_enterprise / "field7.uploads"
        self.send("a.mdb", "SUB/b.mdb")
        (uploads / "other~1").write_bytes(b"half")
        self.assert_run(self.enterprise)
        expected = {f"field7/{name}": digest for _, name, digest in self.ledger}
        self.assertEqual({name.replace("FIELD7", "field7"): digest for name, digest in files_below(self.enterprise.inbox).items()},
                         expected)
        self.assertEqual(files_below(uploads).keys(), {"other~1"})
        self.send("a.mdb")
        (self.to_enterprise / "field7" / "a.mdb").write_bytes(bytes(20_000))
        for _ in range(2):
            self.assert_run(self.enterprise, 1)
        self.assertEqual(self.enterprise.log.count("is not what was sent"), 2)

    def test_packets_arrive_in_it(self):
        """Who sends into the folder above tells of each packet where it is received. The other one is nobody's yet."""
        self.assert_run(self.field)
        self.put(self.enterprise, "field7/a.mdb", "field7/SUB/b.mdb", "field8/c.mdb")
        self.assert_run(self.enterprise)
        waiting = self.to_field / "field7" / "a.mdb"
        content = waiting.read_bytes()
        waiting.write_bytes(bytes(len(content)))
        self.assert_run(self.field, 1, log="is not what was sent")
        self.assertEqual(files_below(self.field.inbox).keys(), {"SUB/b.mdb"})
        claim, = self.to_field.glob("*.claims/*/a.mdb")
        claim.write_bytes(content)
        self.assert_run(self.field)
        self.assertEqual((self.field.inbox / "a.mdb").read_bytes(), content)
        self.assertEqual(files_below(self.to_field).keys(), {"field8/c.mdb"})

    def test_a_packet_is_checked_whose_sender_begins_at_this_moment(self):
        """The folder of its uploads was not there yet when the one above was listed."""
        folder = self.to_enterprise / "field7"
        folder.mkdir()
        self.server.own(folder)

        def send_damaged():
            self.send("a.mdb")
            (folder / "a.mdb").write_bytes(bytes(20_000))
        spoiler = Spoiler(self, self.server)
        spoiler.before("PROPFIND", "/to-enterprise/field7/", send_damaged)
        self.enterprise.change("https.server", spoiler.url)
        self.assert_run(self.enterprise, 1, log="is not what was sent")

    def test_a_packet_is_checked_whatever_the_case_of_its_letters(self):
        """Some servers keep those of the file whose place it takes."""
        self.send("a.mdb")
        packet = self.to_enterprise / "field7" / "a.mdb"
        packet.write_bytes(bytes(20_000))
        packet.rename(packet.with_name("A.MDB"))
        self.assert_run(self.enterprise, 1, log="is not what was sent")

    def test_a_folder_above_that_nobody_has_made(self):
        self.to_enterprise.rmdir()
        self.put(self.field, "a.mdb")
        self.assert_trouble(self.field, {("out", "a.mdb"): WAITING})
        self.assertIn("answers 409 to MKCOL to-enterprise/field7/: the folder for it is missing", self.field.log)
        self.assertNotIn("Check the login", self.field.log)

    def test_no_packet_goes_where_nobody_looks(self):
        self.put(self.field, "x.Claims/a.mdb")
        self.assert_run(self.field, 1, log="has a name that on a WebDAV server only the transport uses")
        self.assertEqual(len(files_below(self.field.send)), 1)


class DigestSubFolderTest(SubFolderTest):
    # Some requests of verify answer no challenge, which here becomes too old within a second.
    LOGIN, EXAMINATIONS = "digest", ("doctor",)


class AccountsTest(HttpsHostTest):
    """Each field computer has an address of its own, whose account reaches no other one, not even by MOVE."""

    KIND = "nginx"
    EXTRA = """
location ^~ /dav/field7/ {{
    alias {folder}/root/dav/field7/;
    client_max_body_size 0;
    dav_methods PUT DELETE MKCOL MOVE;
    dav_ext_methods PROPFIND OPTIONS;
    auth_basic packets;
    auth_basic_user_file {folder}/field7.passwords;
}}
"""

    def new_server(self):
        server = super().new_server()
        accounts = (server.folder / "passwords").read_text()
        field, enterprise = (accounts.replace(USER, name) for name in ("field7", "enterprise"))
        (server.folder / "passwords").write_text(accounts + field + enterprise)
        (server.folder / "field7.passwords").write_text(field + enterprise)
        for name in ("field7", "field8"):
            (server.packets / name).mkdir()
            server.own(server.packets / name)
        return server

    def connect(self, side, other):
        super().connect(side, other)
        side.change("https.server", f"{self.server.url}/field7")
        side.change("https.user", {"field": "field7"}.get(side.name, side.name))

    def ask(self, method, path, **headers):
        connection = http.client.HTTPConnection(self.server.address, PLAIN_PORT)
        login = base64.b64encode(f"field7:{PASSWORD}".encode()).decode()
        connection.request(method, path, b"x" if method == "PUT" else None, headers | {"Authorization": f"Basic {login}"})
        status = connection.getresponse().status
        connection.close()
        return status

    def test_packets_travel_and_nothing_goes_elsewhere(self):
        self.deliver("a.mdb", "SUB/b.mdb")
        self.assertEqual(files_below(self.server.packets), {})
        for path in ("/field8/x", "/field7/../field8/x", "/field7/%2e%2e/field8/x"):
            self.assertIn(self.ask("PUT", "/dav/field7/x"), (201, 204))
            self.ask("MOVE", "/dav/field7/x", Destination=f"http://{self.server.address}:{PLAIN_PORT}/dav{path}")
            self.assertEqual(files_below(self.server.packets / "field8"), {}, path)


class LighttpdAccountsTest(AccountsTest):
    KIND = "lighttpd"
    EXTRA = """
server.modules += ("mod_access")
$HTTP["url"] =~ "^/dav/field7/" {{
    auth.require = ("" => ("method" => "basic", "realm" => "packets", "require" => "user=field7|user=enterprise"))
    $REQUEST_HEADER["Destination"] =~ "^(?!https?://[^/]*/dav/field7/)." {{
        url.access-deny = ("")
    }}
}}
$REQUEST_HEADER["Destination"] =~ "(\\.|%2[eE]){{2}}(/|%2[fF]|$)" {{
    url.access-deny = ("")
}}
"""


class StopTest(HttpsHostTest):
    def test_ctrl_c_in_the_middle_of_a_request(self):
        for side in (self.field, self.enterprise):
            with self.subTest(side=side.name):
                self.put(self.field, *(f"{side.name}{number}.mdb" for number in range(3)))
                if side is self.enterprise:
                    self.assert_run(self.field)
                process = None
                with self.spoiling("stop", 5, lambda: process.send_signal(signal.SIGINT)) as spoiler:
                    process = start("run", side.settings)
                    outcome = finish(process)
                self.assertEqual(outcome.code, 1, outcome)
                self.assertLess(spoiler.count, 9, outcome)
                self.assertEqual(side.log, "")
                self.assert_nothing_lost()
                self.assert_next_cycle_delivers()


class ManyReceiversTest(HttpsHostTest):
    """Hosts of the enterprise that receive from one folder at the same time, each into an inbox of its own."""

    HOSTS = 4

    def install(self, root):
        super().install(root)
        self.hosts = []
        for number in range(self.HOSTS):
            other = self.scratch / f"host{number}"
            shutil.copytree(root, other)
            self.hosts.append(Side(other, "enterprise"))

    def receive(self, killed=None):
        """All hosts at once; one of them is killed in the middle."""
        processes = [start("run", host.settings) for host in self.hosts]
        if killed is not None:
            wait_until(lambda: count_below(self.hosts[killed].receive) > 3, processes[killed])
            processes[killed].kill()
        return [finish(process) for process in processes]

    def assert_each_once(self):
        for name in (name for _, name, _ in self.ledger):
            hosts = [host for host in self.hosts if (host.inbox / name).exists()]
            self.assertEqual(len(hosts), 1, name)
        expected = {name: digest for _, name, digest in self.ledger}
        self.assertEqual(expected, {name: digest for host in self.hosts for name, digest in files_below(host.inbox).items()})
        self.assertEqual(files_below(self.server.packets), {})

    def exchange(self, count):
        self.put_many(count, 1000, None)
        self.assert_run(self.field)
        for outcome in self.receive():
            self.assertEqual(outcome.code, 0, outcome)
        self.assert_each_once()
        self.put_more(count)
        self.receive(killed=0)
        self.assertEqual(self.hosts[0].run().code, 0, self.hosts[0].log)
        for host in self.hosts[1:]:
            self.assertEqual(host.run().code, 0, host.log)
        self.assert_each_once()

    def put_more(self, count):
        self.send(*(f"more{number}.mdb" for number in range(count)))

    def test_each_packet_arrives_at_one_of_four(self):
        self.exchange(60)

    @slow
    def test_two_thousand_packets(self):
        self.exchange(2000)


class ApacheTest(Transfers, SpoiledRequests, HttpsHostTest):
    KIND = "apache"
    SOME = 8

    def test_a_packet_takes_few_requests(self):
        """Two to send, three to receive; the others are for all packets of a folder together."""
        self.assert_run(self.field)  # which makes the folder of what it receives
        self.put_many(20, 100, None)
        before = len(self.server.requests)
        self.assert_run(self.field)
        sent = [line.split()[3] for line in self.server.requests[before:]]
        self.assertEqual((sent.count("PUT"), sent.count("MOVE")), (21, 20))
        self.assertLess(len(sent), 2 * 20 + 12)
        self.assert_run(self.enterprise)
        received = [line.split()[3] for line in self.server.requests[before + len(sent):]]
        self.assertEqual((received.count("GET"), received.count("MOVE"), received.count("DELETE")), (21, 20, 21))
        self.assertLess(len(received), 3 * 20 + 17)
        self.assert_delivered()


class NginxTest(Transfers, SpoiledRequests, HttpsHostTest):
    KIND = "nginx"

    def test_a_place_that_is_another_one_to_the_server(self):
        """Who stands before it changes paths, but not where a packet is moved to; something has its name at both."""
        def lead_on(request, body, ask):
            if request.headers.get("Destination", "").startswith("http"):
                return 502, {}, b""
            request.path = request.path.replace("/dav/", "/dav/tenant/", 1)
            status, headers, content = ask(request, body)
            return status, headers, content.replace(b"/dav/tenant/", b"/dav/")
        place = self.server.packets / "tenant" / "to-enterprise"
        for folder in (place, self.to_enterprise):
            folder.mkdir(parents=True)
            self.server.own(folder.parent, folder)
        (place / "a.mdb").write_bytes(b"older")
        self.server.own(place / "a.mdb")
        self.put(self.field, "a.mdb", "b.mdb")
        with self.spoiling(instead=lead_on):
            for _ in range(2):
                self.assert_trouble(self.field, {("out", "a.mdb"): WAITING, ("out", "b.mdb"): WAITING})
        self.assertEqual((place / "a.mdb").read_bytes(), b"older")


class LighttpdTest(Transfers, SpoiledRequests, HttpsHostTest):
    KIND = "lighttpd"


class RcloneTest(Transfers, SpoiledRequests, HttpsHostTest):
    KIND = "rclone"
