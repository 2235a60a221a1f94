#!/usr/bin/env python3
"""bench/https_bench.py BITS ADDRESS FOLDER: packets through a WebDAV server, which tools/dav-server serves there.

The library sends and receives them; beside it a program that makes the same requests by bare calls of WinHTTP. Then the
host does; beside it curl, which makes the same requests on one connection, and rclone. The second
time a proxy delays what passes by 50 ms each way: then the number of requests is what takes the time. Last a download is
cut, and the next run goes on with it.
"""
import argparse
import asyncio
import contextlib
import os
import pathlib
import socket
import subprocess
import sys
import tempfile
import threading
import time

from contest import MB, ROOT, print_row

sys.path.append(str(ROOT / "tests" / "e2e"))
import support  # noqa: E402
from dav import AUTHORITY, PASSWORD, USER, Server, trust_authority  # noqa: E402

PORT = Server.PORT

LOADS = {"500 files of 64 KB": (500, 65_536), "1 file of 200 MB": (1, 200 * MB)}
DELAYED = {"50 files of 4 KB": (50, 4096)}
DELAY = 0.05  # seconds, each way
CUT_SIZE = 500 * MB
LINES = {"of 100 Mbit/s": 12_500_000, "within the computer": float("inf")}  # bytes/s
CUT, MOST_TO_GO_ON = 0.9, 0.2  # of the whole download: its bytes, and its time
# Requests for each packet; besides, a list and a note for each hundred, and what a transfer needs once.
TO_SEND, TO_RECEIVE, SHARED, ONCE = 2, 3, 2 / 100, 16


class Delay:
    """Passes connections on to the server, each byte a little later."""

    def __init__(self, address, port):
        self.address, self.port = address, port
        started = threading.Event()
        threading.Thread(target=lambda: asyncio.run(self.serve(started)), daemon=True).start()
        started.wait()

    async def serve(self, started):
        server = await asyncio.start_server(self.connection, self.address, self.port)
        started.set()
        await server.serve_forever()

    async def connection(self, reader, writer):
        server_reader, server_writer = await asyncio.open_connection(self.address, PORT)
        await asyncio.gather(self.passes(reader, server_writer), self.passes(server_reader, writer))

    @staticmethod
    async def passes(reader, writer):
        loop = asyncio.get_running_loop()

        def send(data):
            with contextlib.suppress(OSError, RuntimeError):
                writer.write(data) if data else writer.close()

        with contextlib.suppress(OSError):
            while data := await reader.read(65_536):
                loop.call_later(DELAY, send, data)
        loop.call_later(DELAY, send, b"")


class Line:
    """Passes connections on to the server, so many bytes a second of what comes from there at most. Once all that it
    carries have come, it is dead."""

    def __init__(self, address, port, rate, carries):
        self.address, self.port, self.rate, self.left = address, port, rate, carries
        self.listener = support.serve_each((address, port), self.session)

    def session(self, client):
        with client, socket.create_connection((self.address, PORT)) as server, contextlib.suppress(OSError):
            threading.Thread(target=self.passes, args=(client, server), daemon=True).start()
            self.passes(server, client, self.goes_on)
            # The other thread waits for it, and a socket that is waited for is not closed.
            client.shutdown(socket.SHUT_RDWR)
        if self.left <= 0:
            self.close()

    def goes_on(self, length):
        self.left -= length
        time.sleep(length / self.rate)
        return self.left > 0

    @staticmethod
    def passes(source, target, goes_on=lambda length: True):
        with contextlib.suppress(OSError):
            while (data := source.recv(MB // 4)) and goes_on(len(data)):
                target.sendall(data)

    def close(self):
        with contextlib.suppress(OSError):
            self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()


def put_packets(folder, count, size):
    folder.mkdir(parents=True, exist_ok=True)
    for number in range(count):
        with (folder / f"packet{number}.mdb").open("wb") as file:
            for start in range(0, size, MB):
                file.write(os.urandom(min(MB, size - start)))


def check(folder, count):
    if sum(path.stat().st_size > 0 for path in folder.glob("*.mdb")) != count:
        sys.exit(f"bench: packets are missing in {folder}")


def timed(action, *arguments):
    start = time.monotonic()
    action(*arguments)
    return time.monotonic() - start


def run(*command, **options):
    done = subprocess.run(list(map(str, command)), capture_output=True, text=True, check=False, **options)
    if done.returncode:
        sys.exit(f"bench: {command[0]} failed with {done.returncode}: {done.stdout}{done.stderr}")


class Host:
    """znhost on both sides."""

    def __init__(self, scratch, url):
        root = support.make_pair(scratch / "host")
        self.field, self.enterprise = (support.Side(root, name) for name in ("field", "enterprise"))
        for side, other in ((self.field, "enterprise"), (self.enterprise, "field")):
            for key, value in (("transport", "https"), ("https.user", USER), ("https.password", PASSWORD),
                               ("remote_send", f"/to-{other}"), ("remote_receive", f"/to-{side.name}")):
                side.change(key, value)
        self.use(url)

    def use(self, url):
        for side in (self.field, self.enterprise):
            side.change("https.server", url)

    def put(self, count, size):
        put_packets(self.field.outbox, count, size)

    @staticmethod
    def run(side, code=0):
        outcome = side.run()
        if outcome.code != code:
            sys.exit(f"bench: {outcome}")

    def send(self):
        self.run(self.field)

    def receive(self):
        self.run(self.enterprise)

    @property
    def inbox(self):
        return self.enterprise.inbox


class Curl:
    """The same requests, one after the other on one connection."""

    NAME, LIMIT = "curl, the same requests", 2
    COMMON = [f'user = "{USER}:{PASSWORD}"', f'cacert = "{AUTHORITY}/ca.pem"', "silent", "show-error", "http1.1", "fail"]

    def __init__(self, scratch, url):
        self.outbox, self.inbox = scratch / "curl" / "outbox", scratch / "curl" / "inbox"
        self.uploads, self.folder, self.claims = (f"{url}/{scratch.name}{ending}" for ending in (".uploads", "", ".claims"))
        self.inbox.mkdir(parents=True)

    def put(self, count, size):
        put_packets(self.outbox, count, size)
        self.names = sorted(path.name for path in self.outbox.iterdir())
        self.ask((f"{folder}/", "request = MKCOL") for folder in (self.uploads, self.folder, self.claims))

    def ask(self, requests):
        """Requests: a URL, and options."""
        text = "\nnext\n".join("\n".join([*self.COMMON, f'url = "{url}"', *options]) for url, *options in requests)
        with tempfile.NamedTemporaryFile("w", suffix=".curl") as config:
            config.write(text + "\n")
            config.flush()
            run("curl", "--config", config.name)

    @staticmethod
    def find(folder):
        return f"{folder}/", "request = PROPFIND", 'header = "Depth: 1"'

    @staticmethod
    def move(name, source, target):
        return f"{source}/{name}", "request = MOVE", f'header = "Destination: {target}/{name}"'

    def send(self):
        self.ask([*((f"{self.uploads}/{name}", f'upload-file = "{self.outbox / name}"') for name in self.names),
                  self.find(self.uploads), (f"{self.uploads}/note", "request = PUT", 'data = "note"'),
                  *(self.move(name, self.uploads, self.folder) for name in self.names)])
        for name in self.names:
            (self.outbox / name).unlink()

    def receive(self):
        self.ask([self.find(self.folder), *(request for name in self.names for request in (
            self.move(name, self.folder, self.claims), (f"{self.claims}/{name}", f'output = "{self.inbox / name}"'),
            (f"{self.claims}/{name}", "request = DELETE")))])


class Rclone:
    """Moves a folder there and back, several files at a time."""

    NAME, LIMIT = "rclone move", 0

    def __init__(self, scratch, url):
        self.outbox, self.inbox = scratch / "rclone" / "outbox", scratch / "rclone" / "inbox"
        self.inbox.mkdir(parents=True)
        self.remote = f"dav:{scratch.name}"
        secret = subprocess.run(["rclone", "obscure", PASSWORD], capture_output=True, text=True, check=True).stdout.strip()
        self.config = scratch / "rclone.conf"
        self.config.write_text(f"[dav]\ntype = webdav\nurl = {url}\nuser = {USER}\npass = {secret}\n")

    def put(self, count, size):
        put_packets(self.outbox, count, size)

    def move(self, source, target):
        # It takes no certificate that tells the name in the old way alone.
        run("rclone", "--config", self.config, "--no-check-certificate", "move", source, target)

    def send(self):
        self.move(self.outbox, self.remote)

    def receive(self):
        self.move(self.remote, self.inbox)


class Log:
    def __init__(self, folder):
        self.path, self.before = folder / "access.log", 0

    def requests(self):
        """Those since the last time."""
        count = len(self.path.read_text(encoding="utf-8", errors="replace").splitlines())
        new, self.before = count - self.before, count
        return new


def measure(contender, count, size, log):
    """(seconds, requests) to send, and to receive."""
    contender.put(count, size)
    log.requests()
    costs = [(timed(action), log.requests()) for action in (contender.send, contender.receive)]
    check(contender.inbox, count)
    return costs


def report(name, count, costs, where):
    ours = costs.pop(Host)
    for number, (direction, each) in enumerate((("send", TO_SEND), ("receive", TO_RECEIVE))):
        figure = f"HTTPS{where}, {direction} {name}"
        for peer, theirs in costs.items():
            print_row(figure, "s", ours[number][0], peer.NAME, theirs[number][0], peer.LIMIT)
        print_row(f"{figure}, requests per packet", "requests", ours[number][1] / count, limit=each + SHARED + ONCE / count)


def compare(url, loads, log, where=""):
    for name, (count, size) in loads.items():
        with tempfile.TemporaryDirectory(prefix="https-bench-") as temporary:
            report(name, count, {contender: measure(contender(pathlib.Path(temporary), url), count, size, log)
                                 for contender in (Host, Curl, Rclone)}, where)


def go_on(address, where, rate):
    """A packet that is received whole, and one whose line is cut: the next run goes on."""
    with tempfile.TemporaryDirectory(prefix="https-bench-") as temporary:
        host = Host(pathlib.Path(temporary), f"https://{address}:{PORT}/dav")

        def receive(code=0, carries=float("inf")):
            with contextlib.closing(Line(address, PORT + 2, rate, carries)) as line:
                host.use(f"https://{address}:{line.port}/dav")
                return timed(host.run, host.enterprise, code)

        def put():
            host.use(f"https://{address}:{PORT}/dav")
            host.put(1, CUT_SIZE)
            host.send()

        put()
        whole = receive()
        put()
        receive(1, CUT * CUT_SIZE)
        rest = receive()
        check(host.inbox, 1)
        print_row(f"HTTPS, line {where}, the next run goes on after a cut at {CUT:.0%}", "s", rest, "the whole", whole,
                  MOST_TO_GO_ON if rate < float("inf") else 0)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bits", choices=("32", "64"))
    parser.add_argument("address")
    parser.add_argument("folder", type=pathlib.Path)
    arguments = parser.parse_args()
    support.BIN = ROOT / f"build/win{arguments.bits}/bin"
    trust_authority()
    log = Log(arguments.folder)
    url = f"https://{arguments.address}:{PORT}/dav"
    subprocess.run([ROOT / "tools/wine", ROOT / f"build/win{arguments.bits}/bench/https_bench.exe", url, USER, PASSWORD],
                   check=True)
    compare(url, LOADS, log)
    slow = Delay(arguments.address, PORT + 1)
    compare(f"https://{arguments.address}:{slow.port}/dav", DELAYED, log, ", 100 ms away")
    for where, rate in LINES.items():
        go_on(arguments.address, where, rate)


if __name__ == "__main__":
    main()
