"""Real WebDAV servers for the end-to-end tests, and a party between them and the host that spoils single requests."""
import contextlib
import functools
import http.client
import http.server
import select
import signal
import socket
import ssl
import subprocess
import threading
import time

from support import ROOT, WAITING, ServerHostTest, ToolServer, finish, own_address, serve_each, start

TOOL = ROOT / "tools" / "dav-server"
AUTHORITY = ROOT / "build" / "setup" / "authority"
USER, PASSWORD = "packets", "secret"
PLAIN_PORT = 8080
METHODS = ("GET", "PUT", "DELETE", "PROPFIND", "MKCOL", "MOVE")

# What administrators have set in an Apache: it compresses, and keeps no connection for long.
MODULES = "/usr/lib/apache2/modules"
SPARING = f"""
LoadModule alias_module {MODULES}/mod_alias.so
LoadModule deflate_module {MODULES}/mod_deflate.so
LoadModule filter_module {MODULES}/mod_filter.so
MaxKeepAliveRequests 3
AddOutputFilterByType DEFLATE text/plain text/html text/xml
"""
# Before it stands what ends the encryption, by port: as it is, with the header rewritten, and compressing.
PROXIES = f"""
LoadModule proxy_module {MODULES}/mod_proxy.so
LoadModule proxy_http_module {MODULES}/mod_proxy_http.so
LoadModule headers_module {MODULES}/mod_headers.so
LoadModule deflate_module {MODULES}/mod_deflate.so
LoadModule env_module {MODULES}/mod_env.so
SSLCertificateFile {{folder}}/server.pem
SSLCertificateKeyFile {{folder}}/server.key
ProxyPreserveHost On
""" + "".join(f"""
Listen {{address}}:{port}
<VirtualHost {{address}}:{port}>
    SSLEngine On
    <Location /dav>
        Dav Off
        ProxyPass http://{{address}}:8080/dav
        {change}
    </Location>
</VirtualHost>
""" for port, change in ((9001, ""), (9002, 'RequestHeader edit Destination ^https: http:'),
                         (9003, "SetEnv force-gzip\n        SetOutputFilter DEFLATE")))


@functools.cache
def trust_authority():
    subprocess.run([TOOL, "trust"], check=True)


class Server(ToolServer):
    TOOL, PORT, END = TOOL, 8443, signal.SIGTERM

    def __init__(self, test, kind, *options, extra=""):
        """options: of the tool. extra: for the configuration of the server, with {address} and {folder}."""
        address = own_address()
        folder = test.scratch / f"{kind}-{address}"
        super().__init__(test, kind, address, folder, folder / "root" / "dav", *options)
        folder.mkdir()
        (folder / "extra.conf").write_text(extra.format(address=address, folder=folder))
        self.start()
        trust_authority()

    @property
    def url(self):
        return f"https://{self.address}:{self.PORT}/dav"

    @property
    def requests(self):
        """A line for each, of all servers in this folder."""
        return (self.folder / "access.log").read_text(encoding="utf-8", errors="replace").splitlines()


def pump(one, other, change=lambda data: data):
    """Passes on what comes from either, until one of them ends. change: what becomes of the other's data."""
    with contextlib.suppress(OSError):
        while True:
            for source in select.select([one, other], [], [])[0]:
                data = source.recv(65536)
                if not data:
                    return
                if source is one:
                    other.sendall(data)
                else:
                    one.sendall(change(data))


def serve_requests(address, methods, handle):
    """Hands over each HTTP request of the methods that comes to a port of the address; the listener."""
    class Handler(http.server.BaseHTTPRequestHandler):
        protocol_version = "HTTP/1.1"

        def log_message(self, *_):
            """Not on the terminal."""

    for method in methods:
        setattr(Handler, f"do_{method}", handle)
    listener = http.server.ThreadingHTTPServer((address, 0), Handler)
    listener.daemon_threads = True
    listener.handle_error = lambda *_: None  # that the host has gone
    threading.Thread(target=listener.serve_forever, kwargs={"poll_interval": 0.05}, daemon=True).start()
    return listener


class UsualPort:
    """Passes on to a server what comes to the port that no URL needs to name, and answers as change makes them."""

    def __init__(self, test, server, change=lambda data: data):
        self.server, self.change = server, change
        self.url = f"https://{server.address}/dav"
        test.addCleanup(serve_each((server.address, 443), self.session).close)

    def session(self, client):
        with client, socket.create_connection((self.server.address, self.server.PORT)) as server:
            pump(client, server, self.change)


class Spoiler:
    """Passes requests on to a server, and does something with that of a number.

    refuse: drops the connection, and the server never hears of it; lose: drops it when the server has answered;
    gateway: says 502 then; before, after: calls end, before the server hears of it or when it has answered;
    stop: calls end, and passes the request on a second later;
    "redirect URL": leads there, and the server never hears of it. lie: makes another (status, headers, content) of the
    method, and of what the server has answered. instead: answers a request and its body in the server's place, whom it can
    ask itself. largest: a body of more bytes is refused unread.
    """

    def __init__(self, test, server, mode="", number=0, end=None, lie=None, instead=None, largest=1 << 40):
        self.largest, self.instead = largest, instead
        self.server, self.mode, self.number, self.end, self.lie = server, mode, number, end, lie
        self.count = 0
        self.lock = threading.Lock()
        self.listener = serve_requests(server.address, METHODS, lambda request: self.handle(request))
        test.addCleanup(self.close)

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
        if status == 0:
            return self.drop(request)
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
        return self.instead(request, body, self.pass_on) if self.instead else self.pass_on(request, body)

    def pass_on(self, request, body):
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


class Refuser(Spoiler):
    """Answers requests of a method whose path holds a text with a status, or drops the connection where that is 0; the
    server never hears of them."""

    def __init__(self, test, server, method, text, status):
        super().__init__(test, server, instead=self.refuse)
        self.method, self.text, self.status = method, text, status
        self.refused = []  # their paths

    def refuse(self, request, body, ask):
        if request.command != self.method or self.text not in request.path:
            return ask(request, body)
        self.refused.append(request.path)
        return self.status, {}, b""


def openssl(*arguments):
    return subprocess.run(["openssl", *arguments], check=True, capture_output=True).stdout


def new_certificate(path, name, signed=True, days=30):
    """Of the tests' authority, or of nobody but itself; the files of the certificate and of its key."""
    key, request, certificate = (path.with_suffix(ending) for ending in (".key", ".csr", ".pem"))
    issuer = ["-CA", AUTHORITY / "ca.pem", "-CAkey", AUTHORITY / "ca.key"] if signed else ["-signkey", key]
    openssl("req", "-newkey", "rsa:2048", "-nodes", "-subj", f"/CN={name}", "-keyout", key, "-out", request)
    openssl("x509", "-req", "-days", str(days), "-in", request, *issuer, "-out", certificate)
    return certificate, key


class Stranger:
    """Somebody who notes what is told to him, and says nothing."""

    def __init__(self, test, secure=True, signed=True, name=None, days=30):
        self.heard = b""
        self.listener = socket.create_server((own_address(), 0))
        test.addCleanup(self.listener.close)
        self.url = f"http{'s' * secure}://{':'.join(map(str, self.listener.getsockname()))}/"
        context = self.context(test.scratch, name or self.listener.getsockname()[0], signed, days) if secure else None
        threading.Thread(target=self.serve, args=(context,), daemon=True).start()

    @staticmethod
    def context(folder, *identity):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(*new_certificate(folder / "stranger", *identity))
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
    EXTRA = ""

    def new_server(self):
        return Server(self, self.KIND, *self.OPTIONS, extra=self.EXTRA)

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

    @contextlib.contextmanager
    def through(self, party):
        """Both sides reach the server through somebody between them."""
        self.use(party.url)
        try:
            yield party
        finally:
            self.use(self.server.url)

    def spoiling(self, *how, **more):
        return self.through(Spoiler(self, self.server, *how, **more))

    def end_with_a_claim(self, prepare=lambda spoiler: None):
        """The host of the enterprise ends when it has claimed its first packet."""
        process = None

        def end(method, *answer):
            if method == "MOVE":
                process.kill()
                process.wait()
            return answer
        with self.spoiling(lie=end) as spoiler:
            prepare(spoiler)
            process = start("run", self.enterprise.settings)
            finish(process)

    @contextlib.contextmanager
    def refusing(self, method, text="", status=502):
        """Requests of a method whose path holds a text do not reach the server."""
        with self.through(Refuser(self, self.server, method, text, status)) as refuser:
            yield refuser
        self.assertTrue(refuser.refused)

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
