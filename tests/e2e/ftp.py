"""Real FTP servers for the end-to-end tests, and a way to cut a connection at a chosen reply or to change it."""
import contextlib
import os
import random
import socket
import subprocess
import threading

from support import ROOT, ServerHostTest, serve_each, skip, wait_until

TOOL = ROOT / "tools" / "ftp-server"
USERS = {"vsftpd": "ftp", "pure-ftpd": "packets"}
PASSWORD = "secret"


def own_address():
    """An address of its own for each server: the clients use no port but 21."""
    while True:
        address = f"127.{random.randint(1, 254)}.{random.randint(1, 254)}.{random.randint(2, 254)}"
        with socket.socket() as probe:
            try:
                probe.bind((address, 21))
                return address
            except OSError:
                continue


class Server:
    def __init__(self, test, kind):
        check = subprocess.run([TOOL, "check"], capture_output=True, text=True, check=False)
        if check.returncode != 0:
            skip(test, check.stderr.strip())
        self.kind = kind
        self.user = USERS[kind]
        self.address = own_address()
        self.folder = test.scratch / "server"
        self.packets = self.folder / "root" / "packets"
        self.process = None
        test.addCleanup(self.kill)
        self.start()

    def start(self):
        self.process = subprocess.Popen([TOOL, self.kind, self.address, self.folder])
        wait_until(self.answers)

    def answers(self):
        assert self.process.poll() is None, f"{self.kind} ended at once"
        with socket.socket() as client:
            return client.connect_ex((self.address, 21)) == 0

    def kill(self):
        """Ends the server and all its sessions, in the middle of whatever they do."""
        if self.process:
            self.process.kill()
            self.process.wait()
            self.process = None

    def own(self, *paths):
        """Lets the server change files that the test made."""
        for path in paths:
            os.chown(path, self.packets.stat().st_uid, self.packets.stat().st_gid)


class BendingProxy:
    """Passes commands on to a server until the reply that follows a command: drops the connection, or says another."""

    def __init__(self, test, server, command, reply, instead=None):
        self.server, self.command, self.reply, self.instead = server, command, reply, instead
        self.address = own_address()
        self.bent = 0
        self.listener = serve_each((self.address, 21), self.session)
        test.addCleanup(self.listener.close)

    def session(self, client):
        with client, socket.create_connection((self.server.address, 21)) as upstream:
            commanded = threading.Event()

            def pass_commands():
                with contextlib.suppress(OSError):  # that the host has gone
                    for line in client.makefile("rb"):
                        if line.startswith(self.command):
                            commanded.set()
                        upstream.sendall(line)

            threading.Thread(target=pass_commands, daemon=True).start()
            for line in upstream.makefile("rb"):
                if commanded.is_set() and line.startswith(self.reply):
                    self.bent += 1
                    if self.instead is None:
                        client.shutdown(socket.SHUT_RDWR)
                        upstream.shutdown(socket.SHUT_RDWR)
                        return
                    commanded.clear()
                    line = self.instead
                client.sendall(line)


class FtpHostTest(ServerHostTest):
    KIND = "vsftpd"

    def new_server(self):
        return Server(self, self.KIND)

    def connect(self, side, other):
        side.change("transport", "ftp")
        side.change("server", self.server.address)
        side.change("user", self.server.user)
        side.change("password", PASSWORD)
        side.change("remote_send", f"packets/to-{other}")
        side.change("remote_receive", f"packets/to-{side.name}")

    def remote_folder(self, folder):
        folder.mkdir(exist_ok=True)
        self.server.own(folder)
        return folder
