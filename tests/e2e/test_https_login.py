"""Logins to servers, and what guards them: passwords at rest, keys and certificates, proxies."""
import base64
import fcntl
import hashlib
import os
import re
import socket
import subprocess
import tempfile

import support
from dav import (AUTHORITY, HttpsHostTest, METHODS, PASSWORD, PLAIN_PORT, Stranger, new_certificate, openssl, pump,
                 serve_requests)
from support import HostTest, finish, own_address, own_program, run, start, use_on_terminal

PROTECTED = r"(?m)^password = (dpapi:[A-Za-z0-9+/=]+)$"


def given(text):
    """A standard input."""
    file = tempfile.TemporaryFile()
    file.write(text)
    file.seek(0)
    return file


def typed(arguments, *answers):
    """Somebody on a terminal answers each question of the host."""
    waiting = list(answers)

    def answer(output):
        asked = output.count(b"):") + output.count(b"more:")
        return waiting.pop(0) + b"\r" if waiting and asked > len(answers) - len(waiting) else b""
    return use_on_terminal(arguments, answer, raw=True)


class PasswordTest(HttpsHostTest):
    def encipher(self, *options, password=PASSWORD.encode()):
        with given(password + b"\r\nnext line") as text:
            return run("password", self.field.settings, "--stdin", *options, stdin=text)

    def stored(self):
        return re.search(PROTECTED, self.field.settings.read_text(encoding="utf-8"))[1]

    def test_packets_travel_with_a_password_that_windows_enciphered(self):
        self.field.change("https.password", "")
        text = self.field.settings.read_text(encoding="utf-8") + "\n; the last line"
        self.field.settings.write_text(text.replace("password = ", "password\t= "), encoding="utf-8")
        for option in ((), ("--machine",)):
            outcome = self.encipher(*option)
            self.assertEqual(outcome.code, 0, outcome)
            self.assertIn("Every account" if option else "Programs of this account", outcome.output)
            after = self.field.settings.read_text(encoding="utf-8").replace("\t", " ")
            self.assertEqual(after.replace(f"password = {self.stored()}", "password = "), text)
            self.assertNotIn(PASSWORD, after + outcome.output)
            self.deliver("a.mdb")
            self.ledger.clear()

    def test_a_line_that_is_missing_is_added_to_its_section(self):
        text = self.field.settings.read_text(encoding="utf-8").replace(f"password = {PASSWORD}\n", "").replace("\n", "\r\n")
        self.field.settings.write_text("\ufeff" + text, encoding="utf-8", newline="")
        self.assertEqual(self.encipher().code, 0)
        after = self.field.settings.read_bytes().decode("utf-8-sig")
        line, = re.findall(r"(?s)\[https\][^\[]*\r\n(password = dpapi:[^\r\n]+\r\n)", after)
        self.assertEqual(after.replace(line, ""), text)
        self.deliver("a.mdb")

    def test_what_cannot_be_deciphered_is_told_and_can_be_written_anew(self):
        self.encipher()
        good = self.stored()
        for bad in ("dpapi:", "dpapi:nonsense!", good[:-8], good.replace("dpapi:", "dpapi:AAAA")):
            with self.subTest(bad):
                self.field.change("https.password", bad)
                outcome = self.assert_run(self.field, 2)
                # The system's own words stand behind it.
                self.assertRegex(outcome.errors, r"\[https\] password: the password cannot be deciphered here: \w.+\. If another")
                self.assertIn("run this as that account", outcome.errors)
                self.assertIn("znhost password --machine \"Z:", outcome.errors)
                self.assertNotIn(bad, outcome.errors)
        # Nobody needs it to look.
        self.assertIn("no_cycle", self.assert_ends(1, "status", self.field.settings, "--json").output)
        for command in (["list"], ["backups"], ["config"], ["run", "--dry-run"]):
            self.assert_ends(0, command[0], self.field.settings, *command[1:])
        self.assertEqual(self.encipher(password="geh€im".encode()).code, 0)
        self.put(self.field, "a.mdb")
        self.assert_trouble(self.field, log="Check the login")
        self.assertEqual(self.encipher().code, 0)
        self.assert_next_cycle_delivers()

    def test_a_service_that_could_not_decipher_it(self):
        name = ("--name", self.scratch.name)
        self.addCleanup(run, "service", "remove", self.field.settings, *name)
        self.encipher()
        for _ in range(2):
            outcome = self.assert_ends(2, "service", "install", self.field.settings, *name)
            self.assertIn("znhost password --machine", outcome.errors)
            self.field.change("https.password", "dpapi:nonsense!")
        self.encipher("--machine")
        self.assert_ends(0, "service", "install", self.field.settings, *name)

    def test_somebody_types_it(self):
        self.field.change("https.password", "wrong")
        before = self.field.settings.read_bytes()
        for answers, expected in (((b"secret", b"secred"), "differ"), ((b"",), "is empty")):
            outcome = typed(["password", self.field.settings], *answers)
            self.assertEqual((outcome.code, self.field.settings.read_bytes()), (2, before), outcome)
            self.assertIn(expected, outcome.output)
        outcome = typed(["password", self.field.settings], b"secret", b"secret")
        self.assertEqual(outcome.code, 0, outcome)
        self.assertNotIn("secret", outcome.output)
        self.deliver("a.mdb")

    def test_where_there_is_none(self):
        for input_, expected in ((b"\r\n", "is empty"), (b"\xff\n", "not UTF-8"), (None, "--stdin takes it")):
            with given(input_ or b"") as text:
                outcome = run("password", self.field.settings, *(["--stdin"] if input_ else []), stdin=text)
            self.assertEqual(outcome.code, 2, outcome)
            self.assertIn(expected, outcome.errors)
        good = self.field.settings.read_bytes()
        self.field.settings.write_bytes(good + b"; \xff")
        self.assertIn("the file is not UTF-8 text", self.encipher().errors)
        self.assertEqual(self.field.settings.read_bytes(), good + b"; \xff")
        self.field.settings.write_bytes(good)
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


def pin_of(certificate):
    """As anybody computes it who has the certificate."""
    key = openssl("x509", "-in", certificate, "-pubkey", "-noout")
    encoded = subprocess.run(["openssl", "pkey", "-pubin", "-outform", "DER"], input=key, check=True, capture_output=True).stdout
    return "sha256//" + base64.b64encode(hashlib.sha256(encoded).digest()).decode()


OTHER_PIN = "sha256//" + base64.b64encode(bytes(32)).decode()


class GuardedTest(HttpsHostTest):
    def assert_both_ways(self):
        """What both sides have put into their outboxes arrives."""
        for side in (self.field, self.enterprise, self.field):
            self.assert_run(side)
        self.assert_delivered()


class PinTest(GuardedTest):
    def test_packets_travel_to_a_pinned_key(self):
        self.change_both("https.pins", f"{OTHER_PIN} {pin_of(self.server.folder / 'server.pem')}")
        self.put(self.field, *(f"{number}.mdb" for number in range(5)))
        self.put(self.enterprise, "b.mdb")
        self.assert_both_ways()
        self.assertFalse([line for line in self.server.requests if " 401 " in line and " HEAD " not in line])

    def test_another_key_learns_neither_login_nor_packet(self):
        stranger = Stranger(self)
        self.use(stranger.url)
        self.field.change("https.pins", OTHER_PIN)
        self.assert_waits(f"none of those that are pinned, but {pin_of(self.scratch / 'stranger.pem')}", "add it to pins")
        self.assertRegex(stranger.heard, rb"\A(HEAD /[^ ]* HTTP/1.1\r\n[^\0]*)?\Z")
        for secret in (b"Authorization", b"PUT", b"PROPFIND", b"MKCOL"):
            self.assertNotIn(secret, stranger.heard)

    def test_what_is_no_pin(self):
        for pin in ("sha256//AAAA", OTHER_PIN[8:], f"{OTHER_PIN},{OTHER_PIN}"):
            self.field.change("https.pins", pin)
            self.assert_waits("cannot be used: it must look like sha256//")


class DigestTest(GuardedTest):
    OPTIONS = ("--login", "digest")
    EXTRA = """
ErrorDocument 401 /login.html
<Location /login.html>
    Require all granted
</Location>
"""

    def new_server(self):
        """Its page for those who are to log in is long: there is more of it when the next request goes."""
        server = super().new_server()
        page = server.packets.parent / "login.html"
        page.write_text("x" * 300_000)
        server.own(page)
        return server

    def test_packets_travel(self):
        self.change_both("https.login", "digest")
        names = ("a b.mdb", "Gr\u00fc\u00dfe.mdb", "SUB/c.mdb", *(f"{number}.mdb" for number in range(30)))
        self.put(self.field, *names)
        self.put(self.enterprise, *names)
        self.assert_both_ways()
        # A challenge is answered once for all requests, until it is too old.
        refused = sum(" 401 " in line for line in self.server.requests)
        self.assertGreater(refused, 2)
        self.assertLess(refused, len(self.server.requests) / 4)

    def test_a_wrong_password(self):
        self.change_both("https.login", "digest")
        self.field.change("https.password", "wrong")
        self.assert_waits("answers 401", "Check the login")
        self.field.change("https.password", PASSWORD)
        self.assert_next_cycle_delivers()

    def test_no_password_leaves_unasked(self):
        self.assert_waits("does not take the login basic, but digest")


class LighttpdDigestTest(GuardedTest):
    KIND, OPTIONS = "lighttpd", ("--login", "digest")

    def test_packets_travel(self):
        self.change_both("https.login", "digest")
        self.deliver("a b.mdb", "c.mdb")
        self.assert_ends(0, "verify", self.field.settings)


class OtherLoginsTest(GuardedTest):
    def test_the_settings_choose_the_login(self):
        for login in ("digest", "ntlm", "negotiate"):
            with self.subTest(login):
                self.field.change("https.login", login)
                self.assert_waits(f"does not take the login {login}, but basic")
        self.field.change("https.login", "kerberos")
        self.assertIn("[https] login = kerberos: the value must be one of: basic, digest", self.assert_run(self.field, 2).errors)


class ClientCertificateTest(GuardedTest):
    OPTIONS = ("--certificates",)

    def setUp(self):
        """Wine keeps one private key for all certificates of an account: one test at a time has its own there."""
        super().setUp()
        lock = open(AUTHORITY / "client.lock", "w", encoding="utf-8")
        self.addCleanup(lock.close)
        fcntl.flock(lock, fcntl.LOCK_EX)

    def own_certificate(self, name, days=30):
        """Makes one of the tests' authority, and installs it; its thumbprint."""
        program = own_program(self, "own_certificate", "-lcrypt32")
        certificate, key = new_certificate(self.scratch / name, name, days=days)
        packed = certificate.with_suffix(".p12")
        openssl("pkcs12", "-export", "-passout", "pass:", "-inkey", key, "-in", certificate, "-out", packed)
        self.assert_ends(0, packed, program=program)
        self.addCleanup(run, packed, "remove", program=program)
        return openssl("x509", "-in", certificate, "-noout", "-fingerprint", "-sha1").decode().strip().partition("=")[2]

    def test_packets_travel_with_one(self):
        name = f"field computer {os.getpid()}"
        thumbprint = self.own_certificate(name)
        for chosen in (thumbprint, thumbprint.replace(":", " ").lower(), name[3:]):
            self.change_both("https.client_certificate", chosen)
            self.deliver("a.mdb")
            self.ledger.clear()

    def test_without_one(self):
        self.assert_waits("no encrypted connection came about")  # all that Wine tells

    def test_one_that_cannot_be_used(self):
        name = f"old computer {os.getpid()}"
        self.own_certificate(name, days=-1)
        for chosen, text in (("nobody", "There is no client certificate nobody with its private key"),
                             (name, "has expired or is not valid yet")):
            self.field.change("https.client_certificate", chosen)
            self.assert_waits(text)


class Proxy:
    """Passes on what is sent through it, once a login was right: Wine tells its own with no request that has a body."""

    def __init__(self, test, login=None):
        self.expected = login and "Basic " + base64.b64encode(login.encode()).decode()
        self.requests = []
        self.listener = serve_requests(own_address(), (*METHODS, "HEAD", "CONNECT"), lambda request: self.handle(request))
        test.addCleanup(self.listener.server_close)
        test.addCleanup(self.listener.shutdown)
        self.address = ":".join(map(str, self.listener.server_address))

    @staticmethod
    def tunnel(request):
        request.send_response(200)
        request.end_headers()
        with socket.create_connection(request.path.split(":")) as server:
            pump(request.connection, server)
        request.close_connection = True

    @staticmethod
    def relay(request):
        host, _, path = request.path.removeprefix("http://").partition("/")
        with socket.create_connection(host.split(":")) as server:
            del request.headers["Proxy-Authorization"]
            request.headers["Connection"] = "close"
            head = "".join(f"{name}: {value}\r\n" for name, value in request.headers.items())
            server.sendall(f"{request.command} /{path} HTTP/1.1\r\n{head}\r\n".encode())
            server.sendall(request.rfile.read(int(request.headers.get("Content-Length", 0))))
            while data := server.recv(65536):
                request.wfile.write(data)
        request.close_connection = True

    def handle(self, request):
        self.requests.append((request.command, request.headers.get("Proxy-Authorization")))
        if self.expected in (None, request.headers.get("Proxy-Authorization")):
            self.expected = None
            return self.tunnel(request) if request.command == "CONNECT" else self.relay(request)
        request.rfile.read(int(request.headers.get("Content-Length", 0)))
        request.send_response(407)
        request.send_header("Proxy-Authenticate", 'Basic realm="proxy"')
        request.send_header("Content-Length", "0")
        return request.end_headers()


class ProxyTest(GuardedTest):
    def test_packets_travel_through_a_tunnel(self):
        proxy = Proxy(self)
        self.change_both("https.proxy", proxy.address)
        self.deliver("a.mdb")
        self.assertEqual({method for method, _ in proxy.requests}, {"CONNECT"})

    def use_plain(self):
        self.change_both("https.server", f"http://{self.server.address}:{PLAIN_PORT}/dav")

    def test_what_is_not_encrypted_goes_to_no_proxy_elsewhere(self):
        self.use_plain()
        for proxy in ("proxy.invalid:80", "127.packets.invalid:80"):
            self.change_both("https.proxy", proxy)
            self.deliver(f"{proxy[:4]}.mdb")

    def test_a_login_to_the_proxy(self):
        """Without a tunnel: before one, Wine sends none."""
        proxy = Proxy(self, "joe:pass word")
        self.use_plain()
        self.change_both("https.proxy", proxy.address)
        self.assert_waits("answers 407", "Set proxy_user and proxy_password")
        self.change_both("https.proxy_user", "joe")
        self.change_both("https.proxy_password", "wrong")
        before = len(proxy.requests)
        self.assert_waits("answers 407")
        self.assertEqual({method for method, _ in proxy.requests[before:]}, {"HEAD"})
        for side in (self.field, self.enterprise):
            with given(b"pass word") as text:
                self.assertEqual(run("password", side.settings, "--proxy", "--stdin", stdin=text).code, 0)
        self.put(self.field, "b.mdb")
        self.put(self.enterprise, "c.mdb")
        self.assert_both_ways()
