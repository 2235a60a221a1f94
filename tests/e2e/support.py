"""What the end-to-end tests share: running the host, two installations, and the ledger of packets."""
import contextlib
import dataclasses
import fcntl
import functools
import hashlib
import os
import pathlib
import pty
import random
import re
import select
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import termios
import threading
import time
import tty
import unittest

BIN = None  # set by run.py
ROOT = pathlib.Path(__file__).resolve().parents[2]
WINE = ROOT / "tools" / "wine"
# Seconds after which something hangs; no test is about time.
TIMEOUT = 1200
PREFIX = "znhost-e2e-"
# For what several tests use; it is removed when the program ends.
LASTING = tempfile.TemporaryDirectory(prefix=PREFIX)
WAITING = "waiting in send folder"


def slow(method):
    """Marks a test whose load is its point, or a class of tests; such tests run only when asked for."""
    method.slow = True
    return method


def is_slow(test):
    return hasattr(test, "slow") or hasattr(getattr(test, test.id().rpartition(".")[2]), "slow")


def skip(test, reason):
    """A build server must have what the tests need."""
    test.assertIn(os.environ.get("CI", "false"), ("", "false"), reason)
    test.skipTest(reason)


def windows(item):
    """A path of this machine as Windows programs see it; text as it is."""
    return "Z:" + str(item).replace("/", "\\") if isinstance(item, pathlib.Path) else item


def sha256(path):
    with path.open("rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


def files_below(folder):
    """Hashes of all files below a folder, by relative path."""
    folder = pathlib.Path(folder)
    return {str(file.relative_to(folder)): sha256(file) for file in folder.rglob("*") if file.is_file()}


def own_address(port=0):
    """An address of its own for each server: clients choose no port. port: which nobody may have there."""
    while True:
        address = f"127.{random.randint(1, 254)}.{random.randint(1, 254)}.{random.randint(2, 254)}"
        with contextlib.suppress(OSError), socket.socket() as probe:
            probe.bind((address, port))
            return address


def serve_each(address, session):
    """Runs a session in a thread of its own for each who connects. Returns the listener, which its caller closes."""
    listener = socket.create_server(address)

    def accept():
        with contextlib.suppress(OSError):  # that the listener has been closed
            while True:
                threading.Thread(target=session, args=(listener.accept()[0],), daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()
    return listener


def count_below(folder):
    """How many files are below a folder at the moment, also while some come and go."""
    return sum(path.is_file() for path in pathlib.Path(folder).rglob("*"))


def size_of(path):
    """Bytes; -1 without the file."""
    try:
        return path.stat().st_size
    except FileNotFoundError:
        return -1


def arriving(folder):
    """Bytes of the file that is being copied to a folder; -1 without one."""
    return max((size_of(path) for path in folder.iterdir() if path.suffix == ".arriving"), default=-1)


def processes_naming(*texts):
    """(folder in /proc, command line) of the other processes whose command lines hold all of the texts."""
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            line = (process / "cmdline").read_bytes()
            if int(process.name) != os.getpid() and all(text.encode() in line for text in texts):
                yield process, line


def end_programs_naming(*texts):
    for process, _ in processes_naming(*texts):
        with contextlib.suppress(OSError):  # that it has ended by itself
            os.kill(int(process.name), signal.SIGKILL)


def temporary_folders():
    """TEMP of every user of the Wine prefix."""
    prefix = os.environ.get("ZN_WINEPREFIX") or BIN.parents[1] / "setup" / "wineprefix"
    return list(pathlib.Path(prefix).glob("drive_c/users/*/Temp"))


def wait_until(condition, process=None):
    """Waits for a condition, or for the end of the process that is to bring it about."""
    end = time.monotonic() + TIMEOUT
    while not condition() and not (process and process.poll() is not None):
        if time.monotonic() > end:
            raise TimeoutError("what the test waits for did not happen")
        time.sleep(0.002)


@dataclasses.dataclass
class Outcome:
    """What one run of the host said and returned."""
    code: int
    output: str
    errors: str = ""

    @property
    def packets(self):
        """State of each packet in the table: {("out", "a.mdb"): "sent"}."""
        rows = {}
        for line in self.output.splitlines():
            cells = re.split(r"\s{2,}", line.strip())
            if cells[0] in ("out", "in") and len(cells) >= 6:
                rows[cells[0], cells[1].replace("\\", "/")] = cells[5]
        return rows

    def __str__(self):
        return f"exit code {self.code}\n{self.output}\n{self.errors}"


def command(program, arguments):
    """Runs the host, or another Windows program; paths among the arguments are those of this machine."""
    # By the program's Unix path the runner sees which loader it needs; signals then reach the program itself.
    return [WINE, program or BIN / "znhost.exe", *map(windows, arguments)]


def start(*arguments, program=None, **options):
    # No pipes: what the program leaves behind when it is killed, and Wine's desktop process, which the first program
    # with a window brings up, inherit the outputs and live on, so that a pipe would not end with the program.
    outputs = {stream: tempfile.TemporaryFile() for stream in ("stdout", "stderr")}
    process = subprocess.Popen(command(program, arguments), **{"stdin": subprocess.DEVNULL, **outputs, **options})
    process.outputs = outputs
    return process


def text_of(file):
    with file:
        file.seek(0)
        # Wine lets the library of its encryption speak to the terminal.
        text = re.sub("(?m)^GnuTLS error: .*\n", "", file.read().decode())
    lines = text.replace("\r\n", "")
    assert "\n" not in lines, f"a line without CR LF at its end: {text}"
    return text.replace("\r\n", "\n")


def finish(process):
    try:
        process.wait(TIMEOUT)
    finally:
        process.kill()
        process.wait()
    return Outcome(process.returncode, *(text_of(file) for file in process.outputs.values()))


def run(*arguments, **options):
    return finish(start(*arguments, **options))


def run_with_temp(folder, *arguments):
    """What the host does where TEMP names a folder of this machine; Wine replaces what its first program inherits."""
    with tempfile.NamedTemporaryFile("w", suffix=".bat", prefix=PREFIX, newline="\r\n") as script:
        for name in ("TEMP", "TMP"):
            script.write(f"@set {name}={windows(folder)}\n")
        script.write(f"@{' '.join(map(windows, (BIN / 'znhost.exe', *arguments)))}\n")
        script.flush()
        return run("/c", pathlib.Path(script.name), program="cmd")


def use_on_terminal(arguments, type_next, raw=False, program=None):
    """The host, or another program, on a terminal of its own, as a user starts it. type_next: what the user types after
    so much output. raw: as a console of Windows hands over what is typed, and shows nothing itself."""
    process, terminal = pty.fork()
    if process == 0:
        if raw:
            tty.setraw(0)
        # Wide enough for every line of the table: 50 rows of 200 columns.
        fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 50, 200, 0, 0))
        os.execv(WINE, command(program, arguments))
    output = b""
    end = time.monotonic() + TIMEOUT
    while True:
        os.write(terminal, type_next(output))
        if time.monotonic() > end:
            os.kill(process, 9)
            break
        if not select.select([terminal], [], [], 0.002)[0]:
            continue
        try:
            output += os.read(terminal, 65536)
        except OSError:  # the terminal of a program that ended
            break
    os.close(terminal)
    return Outcome(os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]), output.decode(errors="replace"))


def ctrl_c_once(condition):
    """What a user types who presses Ctrl+C once a condition holds."""
    keys = [b"\x03"]
    return lambda _: keys.pop() if keys and condition() else b""


def run_on_terminal(settings, interrupt_when=lambda: False):
    return use_on_terminal(["run", settings], ctrl_c_once(interrupt_when))


def make_pair(root):
    """Two installations as the host makes them, but with packets that travel as they are."""
    outcome = run("init", root)
    assert outcome.code == 0, outcome
    for side in ("field", "enterprise"):
        Side(root, side).change("encoder", "none")
    return root


@functools.cache
def fresh_pair():
    """Installations to copy: their settings name their folders relatively."""
    return make_pair(pathlib.Path(LASTING.name) / "pair")


class Side:
    """One installation of a pair."""

    def __init__(self, root, name):
        self.name = name
        self.settings = root / f"{name}.ini"
        self.log_file = root / f"{name}.log"
        for folder in ("outbox", "sent", "inbox", "send", "receive"):
            setattr(self, folder, root / name / folder)

    def run(self):
        return run("run", self.settings)

    def take_reference(self, content, name="Base.AXR"):
        """Gives the side a file that differences are made against."""
        self.reference = self.settings.parent / self.name / "references" / name
        self.reference.parent.mkdir()
        self.reference.write_bytes(content)
        self.change("reference_path", self.reference)

    @property
    def log(self):
        return self.log_file.read_text(encoding="utf-8-sig") if self.log_file.is_file() else ""

    def change(self, key, value):
        """Sets a key of the settings file: the first one of that name, or as "section.key" that of a section."""
        section, _, name = key.rpartition(".")
        start = rf"(?ms)(^\[{section}\]\n(?:(?!^\[).)*?^)" if section else "(?m)(^)"
        text, count = re.subn(rf"{start}{name} =[^\n]*$", lambda found: f"{found[1]}{name} = {windows(value)}",
                              self.settings.read_text(encoding="utf-8"), count=1)
        assert count == 1, key
        self.settings.write_text(text, encoding="utf-8")


class ScratchTest(unittest.TestCase):
    """A test with a folder of its own."""

    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix=PREFIX))
        self.addCleanup(shutil.rmtree, self.scratch, ignore_errors=True)

    def assert_ends(self, code, *arguments, **options):
        """Outcome of a program that must end with an exit code."""
        outcome = run(*arguments, **options)
        self.assertEqual(outcome.code, code, outcome)
        return outcome


class HostTest(ScratchTest):
    """Two fresh installations, and a ledger of every packet that was put into an outbox."""

    def setUp(self):
        super().setUp()
        self.install(self.scratch / "pair")

    def install(self, root):
        self.root = root
        if not root.exists():
            shutil.copytree(fresh_pair(), root)
        self.field = Side(root, "field")
        self.enterprise = Side(root, "enterprise")
        self.to_enterprise = root / "share" / "to-enterprise"
        self.to_field = root / "share" / "to-field"
        self.ledger = []
        # Folders beside the usual ones in which a packet may be.
        self.other_places = []

    def own(self, *paths):
        """Lets the remote side change files that the test made."""

    def put(self, side, *names, content=None, folder=None):
        """Writes packets into an outbox, or another folder of their way, and enters them in the ledger."""
        for name in names:
            data = os.urandom(20_000) if content is None else content
            path = (folder or side.outbox) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(data)
            self.ledger.append((side, name, hashlib.sha256(data).hexdigest()))
        return path

    def send(self, *names, content=None):
        """Writes packets into the field's outbox, and a run sends them; the last one's content."""
        last = self.put(self.field, *names, content=content).read_bytes()
        self.assert_run(self.field)
        return last

    def deliver(self, *names, content=None):
        """The same, and they arrive."""
        last = self.send(*names, content=content)
        self.assert_received()
        return last

    def put_many(self, count, size, folder):
        for number in range(count):
            self.put(self.field, f"{number}.mdb", content=os.urandom(size), folder=folder)

    def way(self, side):
        """Every folder in which a packet of a side may be; copies in the archive are no packets."""
        other = self.enterprise if side is self.field else self.field
        share = self.to_enterprise if side is self.field else self.to_field
        return [side.outbox, side.send, share, other.receive, other.inbox, *self.other_places]

    def assert_nothing_lost(self):
        for side, name, digest in self.ledger:
            places = [folder / name for folder in self.way(side)]
            self.assertTrue(any(path.is_file() and sha256(path) == digest for path in places),
                            f"{name} of the {side.name} is on no side")

    def assert_delivered(self):
        """Every packet is in the other side's inbox with the content that was sent, and nowhere else."""
        for side, name, digest in self.ledger:
            *on_its_way, inbox = self.way(side)[:5]
            self.assertTrue((inbox / name).is_file(), f"{name} was not delivered")
            self.assertEqual(sha256(inbox / name), digest, name)
            for folder in on_its_way:
                self.assertFalse((folder / name).exists(), f"{name} is still in {folder}")

    def assert_run(self, side, code=0, packets=None, log=""):
        """A run ends with an exit code and, where packets are given, with exactly this table. log: what its log holds."""
        outcome = side.run()
        self.assertEqual(outcome.code, code, f"{outcome}\n{side.name}.log:\n{side.log}")
        if packets is not None:
            self.assertEqual(outcome.packets, packets, outcome)
        self.assertIn(log, side.log)
        return outcome

    def assert_trouble(self, side, packets=None, log=""):
        """A run leaves something behind, but loses nothing."""
        outcome = self.assert_run(side, 1, packets, log)
        self.assert_nothing_lost()
        return outcome

    def assert_next_cycle_delivers(self):
        """One cycle of each side, without or after trouble, brings every packet of the field over."""
        outcomes = [self.assert_run(side) for side in (self.field, self.enterprise)]
        self.assert_delivered()
        return outcomes

    def assert_received(self):
        """A run of the enterprise brings all over that the field has sent."""
        self.assert_run(self.enterprise)
        self.assert_delivered()

    def start_run(self, side):
        """A run in the background; it ends with the test at the latest."""
        process = start("run", side.settings)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def in_time(self, attempt):
        """Calls attempt(load) with a growing load until the trouble that it makes comes before the run's end.

        Returns what attempt returned; that is nothing when there was nothing left to disturb.
        """
        for load in (1, 4, 16):
            outcome = attempt(load)
            self.assert_nothing_lost()
            if outcome:
                return outcome
            self.install(self.scratch / f"after-load-{load}")
        return self.fail("the run always ended before the trouble, or did not notice it")


class ToolServer:
    """A server that a tool runs on an address and in a folder of its own, with packets in one below; until the test ends."""

    TOOL = PORT = None
    END = signal.SIGKILL

    def __init__(self, test, kind, address, folder, packets, *options):
        check = subprocess.run([self.TOOL, "check", kind], capture_output=True, text=True, check=False)
        if check.returncode != 0:
            skip(test, check.stderr.strip())
        self.kind, self.address, self.folder, self.packets, self.options = kind, address, folder, packets, options
        self.process = None
        test.addCleanup(self.kill)

    def start(self):
        self.process = subprocess.Popen([self.TOOL, *self.options, self.kind, self.address, self.folder],
                                        stderr=subprocess.DEVNULL)
        wait_until(self.answers)

    def answers(self):
        assert self.process.poll() is None, f"{self.kind} ended at once"
        with socket.socket() as client:
            return client.connect_ex((self.address, self.PORT)) == 0

    def kill(self):
        """Ends the server and all its sessions, in the middle of whatever they do."""
        if self.process:
            self.process.send_signal(self.END)
            self.process.wait()
            self.process = None

    def own(self, *paths):
        """Lets the server change files that the test made."""
        for path in paths:
            os.chown(path, self.packets.stat().st_uid, self.packets.stat().st_gid)


class ServerHostTest(HostTest):
    """Two installations that exchange packets through a server of the class's kind."""

    KIND = ""
    server = None

    def new_server(self):
        raise NotImplementedError

    def connect(self, side, other):
        """Writes the server into the settings of a side; other: the name of the other one."""
        raise NotImplementedError

    def own(self, *paths):
        self.server.own(*paths)

    def install(self, root):
        super().install(root)
        self.scratch.chmod(0o711)  # the server's user passes through
        self.server = self.server or self.new_server()
        self.to_enterprise = self.server.packets / "to-enterprise"
        self.to_field = self.server.packets / "to-field"
        for side, other in ((self.field, "enterprise"), (self.enterprise, "field")):
            self.connect(side, other)


class Mount:
    """A small volume of its own; skips the test where none can be mounted."""

    def __init__(self, test, folder, size):
        folder.mkdir(parents=True, exist_ok=True)
        self.folder = folder
        done = subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "tmpfs", str(folder)],
                              capture_output=True, text=True, check=False)
        if done.returncode != 0:
            skip(test, f"no volume can be mounted here: {done.stderr.strip()}")
        test.addCleanup(subprocess.run, ["umount", "-l", str(folder)], check=False, stderr=subprocess.DEVNULL)

    def remount(self, options):
        subprocess.run(["mount", "-o", f"remount,{options}", str(self.folder)], check=True)


@functools.cache
def compiled(compiler, name, *libraries):
    program = pathlib.Path(LASTING.name) / f"{name}.exe"
    source = pathlib.Path(__file__).with_name(f"{name}.c")
    subprocess.run([compiler, "-municode", "-static", "-o", program, source, *libraries], check=True)
    return program


def own_program(test, name, *libraries):
    """A Windows program from a source beside the tests."""
    compiler = shutil.which("x86_64-w64-mingw32-gcc-posix") or shutil.which("x86_64-w64-mingw32-gcc")
    if not compiler:
        skip(test, f"there is no cross compiler for {name}.c")
    return compiled(compiler, name, *libraries)


class Holder:
    """A second Windows program that holds a file open: unshared, as a writer that shares it, or as a reader."""

    def __init__(self, test, path, *how):
        self.process = subprocess.Popen(command(own_program(test, "hold"), [path, *how]), stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE)
        test.addCleanup(self.release)
        test.assertEqual(self.process.stdout.readline().strip(), b"held", f"{path} cannot be held")

    def release(self):
        if self.process.poll() is None:
            self.process.stdin.close()
            self.process.wait(TIMEOUT)
            self.process.stdout.close()
