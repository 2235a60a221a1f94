"""Each step of a transfer through a WebDAV server is refused once: what was not done is told, and done by the next."""
import os
import re
import shutil
import time

import test_failures
from cases import NETNAME_DELETED, Fault, Mode, count_plan
from dav import HttpsHostTest, Spoiler
from objects import objects_of
from support import Holder, WAITING, files_below, slow, windows


class StepTest(HttpsHostTest):
    def test_sending(self):
        for number, (method, text, status, report) in enumerate((
                ("MKCOL", "to-enterprise/", 507, "answers 507 to MKCOL"),
                ("MKCOL", "sub1/", 403, "answers 403 to MKCOL"),
                ("PROPFIND", ".uploads", 500, "answers 500 to PROPFIND"),
                ("PUT", "~", 413, "Raise the server's limit"),
                ("PUT", ".digests", 507, "Failed to transmit the digests of the packets."),
                ("MOVE", "~", 403, "Failed to transmit file"),
                # Nobody tells that it is done.
                ("MOVE", "~", 202, "Failed to transmit file"),
                ("MOVE", "~", 207, "Failed to transmit file"))):
            with self.subTest(method=method, text=text, status=status):
                name = f"sub{number}/a.mdb"
                self.put(self.field, name)
                with self.refusing(method, text, status):
                    self.assert_trouble(self.field, {("out", name): WAITING})
                self.assertIn(report, self.field.log)
                self.assert_next_cycle_delivers()
                self.assertEqual(files_below(self.server.packets), {})

    def test_a_packet_that_is_taken_before_its_turn_was_not_sent(self):
        """While the host connects, and while another packet is sent."""
        for method in ("PROPFIND", "PUT"):
            with self.subTest(method=method), self.spoiling() as spoiler:
                self.put(self.field, "a.mdb", "taken.mdb")
                spoiler.before(method, "", (self.field.send / "taken.mdb").unlink)
                self.assert_run(self.field, 1, {("out", "a.mdb"): "sent", ("out", "taken.mdb"): "gone from send folder"})

    def test_a_request_that_is_carried_twice(self):
        """The answer to the second one comes, which finds nothing left to do."""
        for _ in ("new", "newer"):
            self.ledger.clear()
            self.put(self.field, "a.mdb")
            with self.spoiling(instead=lambda request, body, ask: ask(request, body) and ask(request, body)):
                self.assert_run(self.field, 0, {("out", "a.mdb"): "sent"})
        self.assert_next_cycle_delivers()

    def test_an_older_version_of_the_same_size_is_no_proof(self):
        self.send("a.mdb")
        self.ledger.clear()
        self.put(self.field, "a.mdb")

        def vanish(request, body, ask):
            if request.command != "MOVE":
                return ask(request, body)
            for upload in self.to_enterprise.with_name("to-enterprise.uploads").glob("*~*"):
                upload.unlink()
            return 502, {}, b""
        with self.spoiling(instead=vanish):
            self.assert_trouble(self.field, {("out", "a.mdb"): WAITING})
        self.assert_next_cycle_delivers()

    def test_a_packet_that_is_refused_does_not_hold_the_others_up(self):
        for status in (413, 403, 422):
            self.ledger.clear()
            self.put(self.enterprise, "other.mdb")
            self.assert_run(self.enterprise)
            bad = [f"bad{number}.mdb" for number in range(4)]
            self.put(self.field, *bad, content=b"x" * 50_000)
            self.put(self.field, "good.mdb")
            with self.spoiling(instead=lambda request, body, ask, status=status: (
                    (status, {}, b"") if len(body) == 50_000 else ask(request, body))):
                self.assert_trouble(self.field, {("out", name): WAITING for name in bad} | {
                    ("out", "good.mdb"): "sent", ("in", "other.mdb"): "delivered"})
            self.assert_next_cycle_delivers()

    def test_a_server_that_takes_nothing_is_not_asked_for_each_packet(self):
        for status, asked in ((403, 4), (502, 3), (507, 1), (401, 1)):
            self.ledger.clear()
            self.put(self.enterprise, f"{status}.mdb")
            self.assert_run(self.enterprise)
            self.put_many(5, 1000, None)
            with self.refusing("PUT", "~", status) as refuser:
                self.assert_trouble(self.field)
            self.assertEqual(len(refuser.refused), asked)
            # To whom the login is refused, it would be for anything else.
            self.assertEqual((self.field.inbox / f"{status}.mdb").exists(), status != 401)

    def test_a_line_that_dies_is_not_tried_for_each_packet(self):
        """Nor one who has no time, or knows the login no more."""
        def run(side, method, ending, status):
            spoiler = Spoiler(self, self.server)
            handle, lost = spoiler.handle, []

            def die(request):
                if not lost and not (request.command == method and ending in request.path):
                    return handle(request)
                lost.append(request.command)
                request.rfile.read(int(request.headers.get("Content-Length", 0)))
                return Spoiler.answer(request, status, {}, b"") if status else Spoiler.drop(request)
            spoiler.handle = die
            before = side.log.count("ERROR")
            with self.through(spoiler):
                self.assert_trouble(side)
            self.assertLess(len(lost), 20, lost)
            self.assertLess(side.log.count("ERROR") - before, 6, side.log)

        for status in (0, 503, 401):
            with self.subTest(status=status):
                self.put_many(20, 1000, None)
                run(self.field, "MOVE", "~", status)
                run(self.field, "DELETE", "~", status)
                self.assert_run(self.field)
                run(self.enterprise, "MOVE", "to-enterprise/", status)
                with self.refusing("GET", ".claims"):
                    self.assert_run(self.enterprise, 1)
                run(self.enterprise, "GET", ".claims", status)
                self.assert_received()
                self.ledger.clear()

    def test_how_long_a_busy_server_is_to_be_left_alone(self):
        for status, wait, told in ((503, "120", "tries again. It asks to wait 120 seconds."),
                                   (429, "Fri, 27 Nov 2026 10:00:00 GMT", "It asks to wait until Fri, 27 Nov 2026 10:00:00 GMT."),
                                   (503, "<soon>", "being serviced. The next transfer tries again.")):
            with self.spoiling(instead=lambda *_, answer=(status, {"Retry-After": wait}, b""): answer):
                self.assert_waits(told)

    def test_an_upload_whose_answer_is_lost(self):
        self.put(self.field, "a.mdb")
        self.use(Spoiler(self, self.server, lie=lambda method, status, headers, content: (
            (502, {}, b"") if method == "PUT" else (status, headers, content))).url)
        self.assert_next_cycle_delivers()

    def test_an_older_version_that_is_claimed_at_this_moment(self):
        self.send("a.mdb")
        self.ledger.clear()
        self.put(self.field, "a.mdb")

        def claim(request, body, ask):
            answer = ask(request, body)
            if answer[0] == 412:
                (self.to_enterprise / "a.mdb").unlink()
            return answer
        with self.spoiling(instead=claim):
            self.assert_run(self.field, 0, {("out", "a.mdb"): "sent"})
        self.assert_received()

    def test_names_that_cannot_be_seen_get_no_twin(self):
        def hidden(folder, status):
            return self.spoiling(instead=lambda request, body, ask: (
                (status, {}, b"") if request.path.endswith(folder) and request.headers["Depth"] == "1" else ask(request, body)))
        self.send("A.MDB", "SUB/B.MDB")
        for name, folder in (("a.mdb", "to-enterprise/"), ("sub/b.mdb", "SUB/")):
            with self.subTest(name=name):
                self.ledger.clear()
                for path in (self.field.send, self.field.outbox / "SUB"):
                    shutil.rmtree(path, ignore_errors=True)
                self.put(self.field, name)
                with hidden(folder, 500):
                    self.assert_trouble(self.field, {("out", name): WAITING}, "answers 500 to PROPFIND")
                self.assert_run(self.field)
                self.assertEqual(files_below(self.to_enterprise).keys(), {"A.MDB", "SUB/B.MDB"})
        # One who may write there, and not look, sends all the same.
        with hidden("to-enterprise/", 403):
            self.send("c.mdb")

    def test_a_file_in_use_stays(self):
        held = Holder(self, self.put(self.field, "held.mdb", folder=self.field.send), "write")
        self.put(self.field, "free.mdb", folder=self.field.send)
        self.assert_trouble(self.field, {("out", "held.mdb"): WAITING, ("out", "free.mdb"): "sent"})
        self.assertIn("File held.mdb is in use", self.field.log)
        held.release()
        self.assert_next_cycle_delivers()

    run_with = test_failures.FaultTest.run_with

    def fill(self):
        self.ledger.clear()
        for name in ("a.mdb", "b.mdb", "c.mdb"):
            self.put(self.field, name, folder=self.field.send)

    def test_a_file_that_cannot_be_read_does_not_hold_the_others_up(self):
        self.assert_run(self.field)
        self.fill()
        number, *_ = (call.number for call in self.run_with(count_plan(False))[1]
                      if call.function == "ReadFile" and call.path.endswith("b.mdb"))
        self.fill()
        outcome, _ = self.run_with(Fault(number, Mode.FAIL, NETNAME_DELETED).plan(False))
        self.assertEqual((outcome.code, outcome.packets), (1, {
            ("out", "a.mdb"): "sent", ("out", "b.mdb"): WAITING, ("out", "c.mdb"): "sent"}), outcome)
        self.assertIn("b.mdb", self.field.log)
        self.assert_next_cycle_delivers()

    def test_a_file_that_ends_early_is_not_sent(self):
        """What is left of it when a disk or share shows less of it than before."""
        path = self.put(self.field, "a.mdb", content=os.urandom(4 << 20), folder=self.field.send)
        spoiler = Spoiler(self, self.server)
        handle = spoiler.handle

        def cut(request):
            if request.command == "PUT" and path.exists():
                os.truncate(path, 1 << 20)
            return handle(request)
        spoiler.handle = cut
        with self.through(spoiler):
            self.assert_run(self.field, 1, {("out", "a.mdb"): WAITING})
        self.assertIn(f"({windows(path)})", self.field.log)
        self.assertEqual(path.stat().st_size, 1 << 20)

    def last_run(self, side):
        [status] = objects_of(self.assert_ends(1, "status", side.settings, "--json"))
        return status["last_run"]

    def test_receiving(self):
        """What keeps a packet there fails no transfer, after which a loop would wait longer."""
        for number, (method, text, status, report, isHere, fails) in enumerate((
                ("PROPFIND", "to-enterprise.uploads", 500, "answers 500 to PROPFIND", False, True),
                ("PROPFIND", "to-enterprise.claims", 503, "answers 503 to PROPFIND", False, True),
                ("PROPFIND", "to-enterprise/", 403, "answers 403 to PROPFIND", False, True),
                ("MKCOL", "sub3/", 507, "answers 507 to MKCOL", False, False),
                ("MOVE", "to-enterprise/", 423, "it is locked by another program", False, False),
                ("MOVE", "to-enterprise/", 404, "it is there, and cannot be claimed", False, False),
                ("GET", ".claims", 500, "Failed to retrieve file", False, False),
                ("DELETE", ".claims", 403, "It will be received again", True, False))):
            with self.subTest(method=method, text=text):
                name = f"sub{number}/a.mdb"
                self.send(name)
                with self.refusing(method, text, status):
                    self.assert_trouble(self.enterprise)
                self.assertIn(report, self.enterprise.log)
                run = self.last_run(self.enterprise)
                self.assertEqual((bool(run["failure"]), run["result"]), (fails, "incomplete"), run)
                self.assertTrue(any(report in message for message in run["messages"]), run)
                self.assertEqual((self.enterprise.inbox / name).exists(), isHere)
                self.assert_received()
                self.assertEqual(files_below(self.server.packets), {})

    def test_a_server_that_ends_at_the_last_packet(self):
        self.send("a.mdb")
        with self.spoiling() as spoiler:
            spoiler.before("GET", "/a.mdb", self.server.kill)
            self.assert_trouble(self.enterprise)
        self.assertTrue(self.last_run(self.enterprise)["failure"])
        self.server.start()
        self.assert_received()

    def test_a_claim_that_seems_to_fail(self):
        """What carries requests may do so twice: of the second one the server knows nothing."""
        self.send("a.mdb", "SUB/b.mdb")
        with self.spoiling(lie=lambda method, status, headers, content: (
                (404, {}, b"") if method == "MOVE" else (status, headers, content))):
            self.assert_received()
        self.assertEqual(files_below(self.server.packets), {})

    def test_a_server_that_tells_no_length(self):
        """Nobody would know whether all of it came."""
        def chunked(request, status, content):
            request.send_response(status)
            request.send_header("Transfer-Encoding", "chunked")
            request.end_headers()
            request.wfile.write(f"{len(content):x}\r\n".encode() + content + b"\r\n0\r\n\r\n")

        self.receive_from(chunked)
        self.assertIn("does not tell the length", self.enterprise.log)
        self.assert_received()

    @slow
    def test_a_server_that_drips(self):
        """It holds the line for as long as it is heard."""
        dripped = []

        def drip(request, status, content):
            if dripped:
                return Spoiler.answer(request, status, {}, content)
            request.send_response(status)
            request.send_header("Content-Length", str(len(content)))
            request.end_headers()
            for start in range(0, len(content), 50):
                dripped.append(request.wfile.write(content[start:start + 50]))
                time.sleep(1)
            return None

        self.receive_from(drip)
        self.assertLess(sum(dripped), 20_000)
        self.assert_received()

    def receive_from(self, answer):
        """Of the packet's content a server answers so; the others are as they are."""
        self.send("a.mdb")
        spoiler = Spoiler(self, self.server)
        usual = spoiler.answer
        spoiler.answer = lambda request, status, headers, content: (
            answer(request, status, content) if request.command == "GET" and ".claims" in request.path
            else usual(request, status, headers, content))
        with self.through(spoiler):
            self.enterprise.run()
        self.assert_nothing_lost()


class StrangeNamesTest(HttpsHostTest):
    """What a server can hold, and a folder of Windows cannot, stays there and is told."""

    def put_there(self, *names):
        path = None
        for name in names:
            path = self.to_enterprise / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(name.encode())
        for path in (self.to_enterprise, *self.to_enterprise.rglob("*")):
            self.server.own(path)

    def test_names(self):
        deepest = "/".join(["d"] * 33)
        self.put_there("a.mdb", "A.mdb", "sub/b.mdb", f"{deepest}/c.mdb")
        outcome = self.assert_run(self.enterprise, 1, log="differs only in the case of letters")
        self.assertIn("more than 32 folders deep", self.enterprise.log)
        left = files_below(self.to_enterprise).keys()
        self.assertEqual(left - {"a.mdb", "A.mdb"}, {f"{deepest}/c.mdb"}, outcome)
        self.assertEqual(files_below(self.enterprise.inbox).keys() | left,
                         {"a.mdb", "A.mdb", "sub/b.mdb", f"{deepest}/c.mdb"})

    def test_a_list_without_end(self):
        self.put_there("a.mdb")
        entry = b"<D:response><D:href>/dav/to-enterprise/%d.mdb</D:href></D:response>"
        for content in (b"".join(entry % number for number in range(200_001)), b"<D:response/>" * 5_300_000):
            with self.subTest(bytes=len(content)):
                listing = b'<D:multistatus xmlns:D="DAV:">' + content + b"</D:multistatus>"
                with self.spoiling(lie=lambda method, status, headers, answer, listing=listing: (
                        status, headers, listing if method == "PROPFIND" and b"a.mdb" in answer else answer)):
                    self.assert_run(self.enterprise, 1)
                self.assertIn("The server's list of the folder cannot be used", self.enterprise.log)
                self.assertEqual(files_below(self.enterprise.inbox), {})

    def test_folders_without_end(self):
        """As links that lead back make them."""
        self.put_there("a.mdb")
        entry = (b"<D:response><D:href>/dav/to-enterprise/%d/</D:href><D:propstat><D:prop><D:resourcetype><D:collection/>"
                 b"</D:resourcetype></D:prop></D:propstat></D:response>")
        folders = b"".join(entry % number for number in range(6000)) + b"</D:multistatus>"
        asked = []

        def lie(request, body, ask):
            if re.search("to-enterprise/[0-9]+/$", request.path):
                asked.append(request.path)
                return 404, {}, b""
            status, headers, content = ask(request, body)
            isList = request.command == "PROPFIND" and request.path.endswith("to-enterprise/")
            return status, headers, content.replace(b"</D:multistatus>", folders) if isList else content
        with self.spoiling(instead=lie):
            self.assert_run(self.enterprise, 1)
        self.assertEqual(self.enterprise.log.count("lie more than 5000 folders"), 1)
        self.assertEqual(len(asked), 5000)
        self.assertEqual(files_below(self.enterprise.inbox).keys(), {"a.mdb"})
