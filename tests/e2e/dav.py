"""Real WebDAV servers for the end-to-end tests, and a party between them and the host that spoils single requests."""
import contextlib
import functools
import http.client
import http.server
import os
import random
import select
import socket
import ssl
import subprocess
import threading
import time

from support import ROOT, WAITING, ServerHostTest, serve_each, skip, wait_until

TOOL = ROOT / "tools" / "dav-server"
AUTHORITY = ROOT / "build" / "setup" / "authority"
USER, PASSWORD = "packets", "secret"
PORT, PLAIN_PORT = 8443, 8080
METHODS = ("GET", "PUT", "DELETE", "PROPFIND", "MKCOL", "MOVE")


@functools.cache
def trust_authority():
    subprocess.run([TOOL, "trust"], check=True)


def own_address():
    return f"127.{random.randint(1, 254)}.{random.randint(1, 254)}.{random.randint(2, 254)}"


class Server:
    def __init__(self, test, kind, *options, extra=""):
        """options: of the tool. extra: for the configuration of Apache, with {address} and {folder}."""
        check = subprocess.run([TOOL, "check", kind], capture_output=True, text=True, check=False)
        if check.returncode != 0:
            skip(test, check.stderr.strip())
        self.kind, self.options = kind, options
        self.address = own_address()
        self.folder = test.scratch / f"{kind}-{self.address}"
        self.folder.mkdir()
        (self.folder / "extra.conf").write_text(extra.format(address=self.address, folder=self.folder))
        self.packets = self.folder / "root" / "dav"
        self.process = None
        test.addCleanup(self.kill)
        self.start()
        trust_authority()

    @property
    def url(self):
        return f"https://{self.address}:{PORT}/dav"

    def start(self):
        self.process = subprocess.Popen([TOOL, *self.options, self.kind, self.address, self.folder], stderr=subprocess.DEVNULL)
        wait_until(self.answers)

    def answers(self):
        assert self.process.poll() is None, f"{self.kind} ended at once"
        with socket.socket() as client:
            return client.connect_ex((self.address, PORT)) == 0

    def kill(self):
        if self.process:
            self.process.terminate()
            self.process.wait()
            self.process = None

    @property
    def requests(self):
        """A line for each, of all servers in this folder."""
        return (self.folder / "access.log").read_text(encoding="utf-8", errors="replace").splitlines()

    def own(self, *paths):
        """Lets the server change files that the test made."""
        for path in paths:
            os.chown(path, self.packets.stat().st_uid, self.packets.stat().st_gid)


def pump(one, other):
    """Passes on what comes from either, until one of them ends."""
    with contextlib.suppress(OSError):
        while True:
            for source in select.select([one, other], [], [])[0]:
                data = source.recv(65536)
                if not data:
                    return
                (other if source is one else one).sendall(data)


class UsualPort:
    """Passes on to a server what comes to the port that no URL needs to name."""

    def __init__(self, test, server):
        self.server = server
        self.url = f"https://{server.address}/dav"
        test.addCleanup(serve_each((server.address, 443), self.session).close)

    def session(self, client):
        with client, socket.create_connection((self.server.address, PORT)) as server:
            pump(client, server)


class Spoiler:
    """Passes requests on to a server, and does something with that of a number.

    refuse: drops the connection, and the server never hears of it; lose: drops it when the server has answered;
    gateway: says 502 then; before, after: calls end, before the server hears of it or when it has answered;
    stop: calls end, and passes the request on a second later;
    "redirect URL": leads there, and the server never hears of it. lie: makes another (status, headers, content) of the
    method, and of what the server has answered. largest: a body of more bytes is refused unread.
    """

    def __init__(self, test, server, mode="", number=0, end=None, lie=None, largest=1 << 40):
        self.largest = largest
        self.server, self.mode, self.number, self.end, self.lie = server, mode, number, end, lie
        self.count = 0
        self.lock = threading.Lock()
        spoiler = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def log_message(self, *_):
                """Not on the terminal."""

            def pass_on(self):
                spoiler.handle(self)

        for method in METHODS:
            setattr(Handler, f"do_{method}", Handler.pass_on)
        self.listener = http.server.ThreadingHTTPServer((server.address, 0), Handler)
        self.listener.daemon_threads = True
        self.listener.handle_error = lambda *_: None  # that the host has gone
        test.addCleanup(self.close)
        threading.Thread(target=self.listener.serve_forever, kwargs={"poll_interval": 0.05}, daemon=True).start()

    @property
    def url(self):
        return f"http://{self.server.address}:{self.listener.server_address[1]}/dav"

    def close(self):
        self.listener.shutdown()
        self.listener.server_close()

    def handle(self, request):
        length = int(request.headers.get("Content-Length", 0))
        if length > self.largest:
            request.close_connection = True
            return self.answer(request, 413, {}, b"too large")
        body = request.rfile.read(length)
        if len(body) < length:
            return self.drop(request)
        with self.lock:
            self.count += 1
            mode = self.mode if self.count == self.number else ""
        if mode == "before":
            self.end()
        if mode == "stop":
            self.end()
            time.sleep(1)
        if mode in ("before", "refuse"):
            return self.drop(request)
        if mode.startswith("redirect"):
            return self.answer(request, 307, {"Location": mode.split()[1]}, b"")
        status, headers, content = self.ask(request, body)
        if mode == "after":
            self.end()
        if mode in ("after", "lose"):
            return self.drop(request)
        if mode == "gateway":
            status, headers, content = 502, {}, b"bad gateway"
        if self.lie:
            status, headers, content = self.lie(request.command, status, headers, content)
        return self.answer(request, status, headers, content)

    @staticmethod
    def answer(request, status, headers, content):
        request.send_response_only(status)
        for name, value in headers.items():
            if name != "Content-Length":
                request.send_header(name, value)
        request.send_header("Content-Length", str(headers.get("Content-Length", len(content))))
        request.end_headers()
        request.wfile.write(content)
        request.close_connection = "Content-Length" in headers

    def before(self, method, ending, act):
        """Has something done once, before the server hears of a request whose path ends so."""
        usual, acts = self.ask, [act]

        def ask(request, body):
            if acts and request.command == method and request.path.endswith(ending):
                acts.pop()()
            return usual(request, body)
        self.ask = ask

    def ask(self, request, body):
        connection = http.client.HTTPConnection(self.server.address, PLAIN_PORT)
        headers = dict(request.headers) | {"Host": f"{self.server.address}:{PLAIN_PORT}", "Connection": "close"}
        if "Destination" in headers:
            headers["Destination"] = headers["Destination"].replace(self.url, f"http://{headers['Host']}/dav")
        connection.request(request.command, request.path, body or None, headers)
        answer = connection.getresponse()
        content = answer.read()
        connection.close()
        kept = {name: value for name, value in answer.getheaders()
                if name.lower() not in ("content-length", "connection", "transfer-encoding", "keep-alive")}
        return answer.status, kept, content

    @staticmethod
    def drop(request):
        request.close_connection = True
        with contextlib.suppress(OSError):  # that the host has gone
            request.connection.shutdown(socket.SHUT_RDWR)


class Stranger:
    """Somebody who notes what is told to him, and says nothing."""

    def __init__(self, test, secure=True, signed=True, name=None, days=30):
        self.heard = b""
        self.listener = socket.create_server((own_address(), 0))
        test.addCleanup(self.listener.close)
        self.url = f"http{'s' * secure}://{':'.join(map(str, self.listener.getsockname()))}/"
        context = self.context(test.scratch, signed, name or self.listener.getsockname()[0], days) if secure else None
        threading.Thread(target=self.serve, args=(context,), daemon=True).start()

    @staticmethod
    def context(folder, signed, name, days):
        key, request, certificate = (folder / f"stranger.{ending}" for ending in ("key", "csr", "pem"))
        issuer = ["-CA", AUTHORITY / "ca.pem", "-CAkey", AUTHORITY / "ca.key"] if signed else ["-signkey", key]
        for command in (["req", "-newkey", "rsa:2048", "-nodes", "-subj", f"/CN={name}", "-keyout", key, "-out", request],
                        ["x509", "-req", "-days", str(days), "-in", request, *issuer, "-out", certificate]):
            subprocess.run(["openssl", *command], check=True, capture_output=True)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        return context

    def serve(self, context):
        with contextlib.suppress(OSError):  # that the listener has been closed
            while True:
                connection, _ = self.listener.accept()
                with contextlib.suppress(OSError), connection:
                    if context:
                        connection = context.wrap_socket(connection, server_side=True)
                    while data := connection.recv(65536):
                        self.heard += data


class HttpsHostTest(ServerHostTest):
    KIND = "apache"
    OPTIONS = ()

    def new_server(self):
        return Server(self, self.KIND, *self.OPTIONS)

    def connect(self, side, other):
        side.change("transport", "https")
        side.change("https.server", self.server.url)
        side.change("https.user", USER)
        side.change("https.password", PASSWORD)
        side.change("remote_send", f"/to-{other}")
        side.change("remote_receive", f"/to-{side.name}")

    def change_both(self, key, value):
        for side in (self.field, self.enterprise):
            side.change(key, value)

    def use(self, url):
        self.change_both("https.server", url)

    def assert_waits(self, *texts):
        self.ledger.clear()  # a newer version takes the place of one that waits
        self.put(self.field, "a.mdb")
        self.assert_trouble(self.field, {("out", "a.mdb"): WAITING})
        for text in texts:
            self.assertIn(text, self.field.log)

    def way(self, side):
        """What has been claimed and not yet delivered is no less safe."""
        outbox, send, share, receive, inbox, *others = super().way(side)
        claims = share.with_name(f"{share.name}.claims")
        return [outbox, send, share, receive, inbox, *others, *(claims.iterdir() if claims.is_dir() else ())]
