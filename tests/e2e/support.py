"""What the end-to-end tests share: running the host, two installations, and the ledger of packets."""
import hashlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

BIN = None  # set by run.py
ROOT = pathlib.Path(__file__).resolve().parents[2]
WINE = ROOT / "tools" / "wine"
TIMEOUT = 120


def windows(path):
    """A path of this machine as Windows programs see it."""
    return "Z:" + str(path).replace("/", "\\")


def sha256(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def files_below(folder):
    """Hashes of all files below a folder, by relative path."""
    folder = pathlib.Path(folder)
    return {str(file.relative_to(folder)): sha256(file) for file in folder.rglob("*") if file.is_file()}


def wait_until(condition, timeout=60):
    end = time.monotonic() + timeout
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError("what the test waits for did not happen")
        time.sleep(0.002)


class Outcome:
    """What one run of the host said and returned."""

    def __init__(self, code, output, errors):
        self.code = code
        self.output = output
        self.errors = errors

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


def temporary_folders():
    """TEMP of every user of the Wine prefix."""
    prefix = os.environ.get("ZN_WINEPREFIX") or BIN.parents[1] / "setup" / "wineprefix"
    return list(pathlib.Path(prefix).glob("drive_c/users/*/Temp"))


def start(*arguments, program=None, **options):
    program = program or BIN / "znhost.exe"
    # By its Unix path the runner sees which loader the program needs; signals then reach the program itself.
    # No pipes: Wine's desktop process, which the first program with a window brings up, inherits the error output
    # and lives on, so that a pipe would not end with the program.
    outputs = {stream: tempfile.TemporaryFile() for stream in ("stdout", "stderr")}
    process = subprocess.Popen([str(WINE), str(program), *map(str, arguments)], stdin=subprocess.DEVNULL,
                               **{**outputs, **options})
    process.outputs = outputs
    return process


def text_of(file):
    with file:
        file.seek(0)
        return file.read().decode()


def finish(process, timeout=TIMEOUT):
    try:
        process.wait(timeout)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
        raise
    return Outcome(process.returncode, *(text_of(file) for file in process.outputs.values()))


def run(*arguments, program=None, timeout=TIMEOUT, **options):
    return finish(start(*arguments, program=program, **options), timeout)


def end_programs_naming(text):
    """Ends the processes whose command line holds a text that only this test uses."""
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if int(process.name) != os.getpid() and text.encode() in (process / "cmdline").read_bytes():
                os.kill(int(process.name), signal.SIGKILL)
        except (OSError, ProcessLookupError):
            continue


class Side:
    """One installation of a pair."""

    def __init__(self, root, name):
        self.name = name
        self.settings = root / f"{name}.ini"
        self.log_file = root / f"{name}.log"
        for folder in ("outbox", "sent", "inbox", "send", "receive"):
            setattr(self, folder, root / name / folder)

    def run(self, **options):
        return run("run", windows(self.settings), **options)

    @property
    def log(self):
        return self.log_file.read_text(encoding="utf-8-sig") if self.log_file.is_file() else ""

    def change(self, key, value):
        """Sets a key of the settings file."""
        text, count = re.subn(rf"(?m)^{key} =.*$", lambda _: f"{key} = {value}",
                              self.settings.read_text(encoding="utf-8"))
        assert count == 1, key
        self.settings.write_text(text, encoding="utf-8")


class HostTest(unittest.TestCase):
    """Two fresh installations, and a ledger of every packet that was put into an outbox."""

    def setUp(self):
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="znhost-e2e-"))
        self.addCleanup(shutil.rmtree, self.scratch, ignore_errors=True)
        self.install(self.scratch / "pair")

    def install(self, root):
        self.root = root
        outcome = run("init", windows(root))
        self.assertEqual(outcome.code, 0, outcome)
        self.field = Side(root, "field")
        self.enterprise = Side(root, "enterprise")
        for side in (self.field, self.enterprise):
            side.change("encoder", "none")
        self.to_enterprise = root / "share" / "to-enterprise"
        self.to_field = root / "share" / "to-field"
        self.ledger = []
        # Folders beside the usual ones in which a packet may be.
        self.other_places = []

    def put(self, side, name, content=None, folder=None):
        """Writes a packet into an outbox, or another folder of its way, and enters it in the ledger."""
        content = os.urandom(20_000) if content is None else content
        path = (folder or side.outbox) / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        self.ledger.append((side, name, hashlib.sha256(content).hexdigest()))
        return path

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

    def assert_delivered(self, names=None):
        """Every packet is in the other side's inbox with the content that was sent, and nowhere else."""
        for side, name, digest in self.ledger:
            if names is not None and name not in names:
                continue
            *on_its_way, inbox = self.way(side)[:5]
            self.assertTrue((inbox / name).is_file(), f"{name} was not delivered")
            self.assertEqual(sha256(inbox / name), digest, name)
            for folder in on_its_way:
                self.assertFalse((folder / name).exists(), f"{name} is still in {folder}")

    def assert_run(self, side, code, **options):
        outcome = side.run(**options)
        self.assertEqual(outcome.code, code, f"{outcome}\n{side.name}.log:\n{side.log}")
        return outcome

    def start_run(self, side):
        """A run in the background; it ends with the test at the latest."""
        process = start("run", windows(side.settings))
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def in_time(self, attempt):
        """Calls attempt(load) with a growing load until the trouble that it makes comes before the run's end.

        attempt returns False when nothing was left to disturb.
        """
        for load in (1, 4, 16):
            if attempt(load):
                return
            self.install(self.scratch / f"after-load-{load}")
        self.fail("the run always ended before the trouble, or did not notice it")

    def assert_next_cycle_delivers(self):
        """After the trouble is over, one cycle of each side brings every packet of the field over."""
        self.assert_run(self.field, 0)
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()


class Mount:
    """A small volume of its own; skips the test where none can be mounted."""

    def __init__(self, test, folder, size):
        folder.mkdir(parents=True, exist_ok=True)
        self.folder = folder
        if os.geteuid() != 0 or not shutil.which("mount"):
            test.skipTest("mounting a volume needs root")
        self._try(test, "-t", "tmpfs", "-o", f"size={size}", "tmpfs", str(folder))
        test.addCleanup(subprocess.run, ["umount", "-l", str(folder)], check=False, stderr=subprocess.DEVNULL)

    def _try(self, test, *arguments):
        done = subprocess.run(["mount", *arguments], capture_output=True, text=True, check=False)
        if done.returncode != 0:
            test.skipTest(f"no volume can be mounted here: {done.stderr.strip()}")

    def remount(self, options):
        subprocess.run(["mount", "-o", f"remount,{options}", str(self.folder)], check=True)


class Holder:
    """A second Windows program that holds a file open: unshared, or as a writer that shares it."""

    _program = None

    def __init__(self, test, path, *how):
        program = self._build(test)
        self.process = subprocess.Popen([str(WINE), windows(program), windows(path), *how],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        test.addCleanup(self.release)
        answer = self.process.stdout.readline().strip()
        test.assertEqual(answer, b"held", f"{path} cannot be held")

    @classmethod
    def _build(cls, test):
        compiler = shutil.which("x86_64-w64-mingw32-gcc-posix") or shutil.which("x86_64-w64-mingw32-gcc")
        if not compiler:
            test.skipTest("there is no cross compiler for the program that holds a file open")
        if not cls._program:
            folder = tempfile.TemporaryDirectory(prefix="znhost-e2e-")
            program = pathlib.Path(folder.name) / "hold.exe"
            source = pathlib.Path(__file__).with_name("hold.c")
            subprocess.run([compiler, "-municode", "-static", "-o", str(program), str(source)], check=True)
            cls._program, cls._folder = program, folder
        return cls._program

    def release(self):
        if self.process.poll() is None:
            self.process.stdin.close()
            self.process.wait(timeout=30)
            self.process.stdout.close()
