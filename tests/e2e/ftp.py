"""Real FTP servers for the end-to-end tests, and a way to cut a connection at a chosen reply."""
import contextlib
import socket
import threading

from support import ROOT, ServerHostTest, ToolServer, own_address, serve_each

USERS = {"vsftpd": "ftp", "pure-ftpd": "packets"}
PASSWORD = "secret"


class Server(ToolServer):
    TOOL, PORT = ROOT / "tools" / "ftp-server", 21

    def __init__(self, test, kind):
        folder = test.scratch / "server"
        super().__init__(test, kind, own_address(self.PORT), folder, folder / "root" / "packets")
        self.user = USERS[kind]
        self.start()


class Proxy:
    """Passes commands on to a server, and its replies back."""

    def __init__(self, test, server):
        self.server = server
        self.address = own_address(21)
        self.listener = serve_each((self.address, 21), self.session)
        test.addCleanup(self.listener.close)

    def session(self, client):
        with client, socket.create_connection((self.server.address, 21)) as upstream:
            def pass_commands():
                with contextlib.suppress(OSError):  # that the host has gone
                    for line in client.makefile("rb"):
                        if not self.answers(line, client):
                            upstream.sendall(line)

            threading.Thread(target=pass_commands, daemon=True).start()
            for line in upstream.makefile("rb"):
                if self.cuts_at(line):
                    client.shutdown(socket.SHUT_RDWR)
                    upstream.shutdown(socket.SHUT_RDWR)
                    return
                client.sendall(line)

    def answers(self, command, client):
        """Whether it answers a command itself."""
        return False

    def cuts_at(self, reply):
        """Whether it drops the connection in the place of a reply."""
        return False


class CuttingProxy(Proxy):
    """Drops the connection at the reply that follows a command."""

    def __init__(self, test, server, command, reply):
        self.command, self.reply = command, reply
        self.commanded = False
        self.cuts = 0
        super().__init__(test, server)

    def answers(self, command, client):
        self.commanded = self.commanded or command.startswith(self.command)
        return False

    def cuts_at(self, reply):
        cuts = self.commanded and reply.startswith(self.reply)
        self.cuts += cuts
        self.commanded = self.commanded and not cuts
        return cuts


class ActingProxy(Proxy):
    """Has something done before the server hears of a command."""

    def __init__(self, test, server, command, act):
        self.command, self.act = command, act
        super().__init__(test, server)

    def answers(self, command, client):
        if command.startswith(self.command):
            self.act()
        return False


class TimelessProxy(Proxy):
    """Makes a server one that knows no MDTM."""

    def answers(self, command, client):
        is_asked = command.startswith(b"MDTM")
        if is_asked:
            client.sendall(b"502 MDTM not implemented.\r\n")
        return is_asked


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
