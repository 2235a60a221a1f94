"""Two installations on which one cycle meets a fault, and what must hold after that."""
import dataclasses
import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import tempfile
import time

import support
from cases import count_plan, read_calls
from ftp import FtpHostTest
from packets import INBOX, OUTBOX, RECEIVE, REMOTE, SEND, PLACE_NAMES, Packets, hash_of, packet_of
from support import HostTest, Mount, windows

MEMORY = pathlib.Path("/dev/shm")
PATIENCE = 120  # seconds after which a run hangs
ENDED, NOT_RUN = 93, 94
PACKETS = ("a.mdb", "SUB/b.mdb")
SIZE = 6000
ROUNDS = 4
# Numbers of threads, processes and moments in names.
CHANCE = re.compile(r"(?<=~)\d+-\d+(?=\.arriving)|(?<=znhost-work-)\d+-\d+")

LOST, HALF, WRONG, OLDER, NOT_DELIVERED, CRASHES, HANGS, ASTRAY, REST = FINDINGS = (
    "lost", "half", "wrong", "older", "not delivered", "crashes", "hangs", "astray", "rest")

SIDES = ("send", "receive")


@dataclasses.dataclass(frozen=True)
class Scenario:
    """older: where an older version of each packet is when the newer one comes: nowhere, delivered, waiting on the side
    that is tested, or remote. letters: whether its name has other letters."""
    name: str
    encoder: str = "none"
    older: str = ""
    letters: bool = False
    backups: bool = False
    volume: bool = False
    server: str = ""
    sides: tuple = SIDES


SCENARIOS = {scenario.name: scenario for scenario in (
    Scenario("plain"),
    Scenario("zip", "zip"),
    Scenario("delta", "xdelta"),
    Scenario("over", older="delivered"),
    Scenario("over-zip", "zip", older="delivered"),
    Scenario("over-delta", "xdelta", older="delivered"),
    Scenario("backups", "zip", older="delivered", backups=True),
    Scenario("backups-plain", older="delivered", backups=True),
    Scenario("volume", older="delivered", volume=True),
    Scenario("volume-zip", "zip", older="delivered", volume=True),
    Scenario("newer", older="waiting"),
    Scenario("newer-zip", "zip", older="waiting"),
    Scenario("newer-delta", "xdelta", older="waiting"),
    Scenario("remote", older="remote", sides=("send",)),
    Scenario("letters", older="remote", letters=True, sides=("send",)),
    Scenario("ftp-pure", server="pure-ftpd"),
    Scenario("ftp-vs", server="vsftpd"),
    Scenario("ftp-zip", "zip", server="pure-ftpd"),
    Scenario("ftp-newer", older="waiting", server="pure-ftpd"),
    Scenario("ftp-over", older="delivered", server="vsftpd"),
    Scenario("ftp-remote", older="remote", server="pure-ftpd", sides=("send",)),
    Scenario("ftp-letters", older="remote", letters=True, server="pure-ftpd", sides=("send",)),
)}


def file_text(file):
    """What a program said; one that was ended may have ended in the middle of a line."""
    with file:
        file.seek(0)
        return file.read().decode(errors="replace").replace("\r\n", "\n")


def copy_tree(source, target):
    """With owners and times."""
    shutil.rmtree(target, ignore_errors=True)
    subprocess.run(["cp", "-a", source, target], check=True)


def claims_beside(remote):
    """Where a WebDAV server has what a receiver took for itself, and has not yet delivered."""
    return remote.with_name(f"{remote.name}.claims")


def packets_between(sender, receiver, remote, decode):
    """Those of one direction, with all folders in which they may be."""
    receive, send = receiver.receive, sender.send
    folders = {OUTBOX: sender.outbox, SEND: send, REMOTE: remote, RECEIVE: receive, INBOX: receiver.inbox}
    kept = [receive / "Backup", claims_beside(remote), send.with_name(f"{send.name}.older"),
            *(receive.with_name(f"{receive.name}.{ending}") for ending in ("backups", "refused", "waiting"))]
    return Packets(folders, kept, decode)


def decode_difference(path, pair):
    """The content of a file, or None."""
    output = pair.scratch / "decoded"
    output.unlink(missing_ok=True)
    support.run("patch", path, pair.field.reference, output, program=support.BIN / "xDelta.exe")
    return output.read_bytes() if output.exists() else None


def prepare(driver, build):
    """For a program that drives stages: what it runs, where, and how it is asked to stop."""
    support.BIN = build.resolve() / "bin"
    support.fresh_pair()
    # Packets are flushed to the disk again and again; memory is faster.
    if MEMORY.is_dir():
        tempfile.tempdir = str(MEMORY)
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, lambda *_: setattr(driver, "stopped", True))


def empty(folder):
    for path in folder.iterdir():
        shutil.rmtree(path) if path.is_dir() else path.unlink()


class Stage:
    """One scenario, and the side whose cycle meets faults: the field sends, the enterprise receives."""

    def __init__(self, scenario, side, launcher, with_states):
        self.scenario = scenario
        self.launcher = launcher
        self.with_states = with_states
        self.findings = {}
        self.later = {}  # of states: what later cycles find in them
        self.began = time.time()
        self.pair = (FtpHostTest if scenario.server else HostTest)()
        self.pair.KIND = scenario.server
        self.pair.setUp()
        try:
            self.tested, self.other = self.pair.field, self.pair.enterprise
            if side == "receive":
                self.tested, self.other = self.other, self.tested
            self.temporary = self.pair.scratch / "temp"
            self.temporary.mkdir()
            self.log = self.pair.scratch / "calls.log"
            self.prepare(side)
            self.save()
            self.calls = self.count()
        except BaseException:
            self.close()
            raise

    def close(self):
        self.pair.doCleanups()

    # --- The state before the cycle -----------------------------------------------------------------------

    def prepare(self, side):
        pair, scenario = self.pair, self.scenario
        for installation in (pair.field, pair.enterprise):
            installation.change("encoder", scenario.encoder)
            installation.change("patience", "60")
            installation.take_reference(self.content("reference"))
        pair.enterprise.change("backups", "yes" if scenario.backups else "no")
        if scenario.volume:
            Mount(pair, pair.scratch / "volume", "16m")
            pair.enterprise.change("inbox", pair.scratch / "volume" / "inbox")
            pair.enterprise.inbox = pair.scratch / "volume" / "inbox"
        self.packets = packets_between(pair.field, pair.enterprise, pair.to_enterprise,
                                       lambda path: decode_difference(path, pair))
        if scenario.older:
            self.put(0)
            self.cycle(pair.field)
            self.leave_older(side)
        self.put(1)
        if side == "receive":
            self.cycle(pair.field)

    def content(self, *what):
        """The same for each of its names, and half of it the reference's."""
        own = random.Random(" ".join(map(str, what))).randbytes(SIZE // 2)
        return own + random.Random("reference").randbytes(SIZE // 2)

    def put(self, number):
        for name in PACKETS:
            content = self.content(name, number)
            path = self.pair.field.outbox / name
            if number == 0 and self.scenario.letters:
                path = path.with_name(path.name.swapcase())
            path.parent.mkdir(exist_ok=True)
            path.write_bytes(content)
            # Versions of one second are told apart by no server.
            os.utime(path, (1_700_000_000 + 1000 * number,) * 2)
            self.packets.make(name, content)

    def leave_older(self, side):
        pair = self.pair
        if self.scenario.older == "delivered":
            return self.cycle(pair.enterprise)
        if self.scenario.older == "remote":
            return None
        waits = pair.field.send if side == "send" else pair.enterprise.receive
        copy_tree(pair.to_enterprise, waits)
        subprocess.run(["chown", "-R", "root:", waits], check=True)
        return empty(pair.to_enterprise)

    def states(self):
        """The folders that a run changes, and their copies."""
        pair = self.pair
        changed = [pair.root, pair.scratch / "volume" / "inbox"] if self.scenario.volume else [pair.root]
        if self.scenario.server:
            changed.append(pair.server.packets)
        return [(folder, pair.scratch / f"before-{number}") for number, folder in enumerate(changed)]

    def save(self):
        self.before = self.packets.find().delivered
        for folder, copy in self.states():
            copy_tree(folder, copy)

    def restore(self):
        for folder, copy in self.states():
            copy_tree(copy, folder)
        empty(self.temporary)
        self.log.unlink(missing_ok=True)

    # --- Cycles -------------------------------------------------------------------------------------------

    def cycle(self, installation, plan=None):
        """Exit code of a run."""
        environment = {**os.environ, "ZN_FAULT_TEMP": windows(self.temporary), "ZN_FAULT_LOG": windows(self.log)}
        if plan:
            environment["ZN_FAULT"] = plan
        process = support.start(support.BIN / "znhost.exe", "run", installation.settings, program=self.launcher,
                                env=environment)
        try:
            process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            support.end_programs_naming(self.pair.scratch.name, ".exe\0")
            process.wait()
            self.note(HANGS, f"a cycle of the {installation.name}")
        finally:
            self.said = [file_text(file) for file in process.outputs.values()]
        if process.returncode == NOT_RUN:
            raise RuntimeError("".join(self.said))
        if process.returncode not in (0, 1, 2, ENDED, -9):
            self.note(CRASHES, f"a cycle of the {installation.name}: exit code {process.returncode}: {self.said[-1]}")
        return process.returncode

    def count(self):
        self.restore()
        code = self.cycle(self.tested, count_plan(self.with_states))
        calls = read_calls(self.log)
        if code != 0 or [call.number for call in calls] != list(range(1, len(calls) + 1)):
            raise RuntimeError(f"{self.scenario.name}: a run without a fault ended with {code}: {''.join(self.said)}")
        return calls

    # --- A run under a fault ------------------------------------------------------------------------------

    def run(self, fault, other_first):
        """The findings: {which: {what: when it was seen first}}."""
        self.restore()
        self.findings = {}
        self.delivered = dict(self.before)
        self.cycle(self.tested, fault.plan(self.with_states))
        struck = read_calls(self.log)
        if not struck or struck[0].function != self.calls[fault.number - 1].function:
            self.note(ASTRAY, f"met {struck[0] if struck else 'nothing'}")
        self.story = [("fault", self.said)]
        self.check("after the fault")
        self.go_on(other_first)
        return self.findings

    def go_on(self, other_first):
        """Later cycles do the same in the same state: each state is tried once."""
        state = (self.fingerprint(), other_first)
        if state not in self.later:
            before, self.findings = self.findings, {REST: self.findings[REST]} if REST in self.findings else {}
            self.run_until_quiet([self.other, self.tested] if other_first else [self.tested, self.other])
            self.later[state] = self.findings
            self.findings = before
        for finding, details in self.later[state].items():
            for what, when in details.items():
                self.note(finding, what, when)

    def run_until_quiet(self, turns):
        for turn in turns * ROUNDS:
            self.cycle(turn)
            self.story.append((turn.name, self.said))
            if self.check(f"after a cycle of the {turn.name}"):
                return
        for what in self.packets.explain(self.packets.find()):
            self.note(NOT_DELIVERED, what)

    def fingerprint(self):
        """Names, contents, rights and old times of all files that are no logs and remember no run."""
        entries = []
        for folder in (*(folder for folder, _ in self.states()), self.temporary):
            for path in sorted(folder.rglob("*")):
                status = path.stat()
                content = "" if path.is_dir() or path.suffix in (".log", ".status") else hash_of(path.read_bytes())
                when = "" if path.is_dir() or status.st_mtime > self.began else status.st_mtime
                entries.append((CHANCE.sub("#", str(path)), content, status.st_mode, status.st_uid, when))
        return hash(tuple(entries))

    def note(self, finding, what, when=""):
        """Notes a finding when it is seen first."""
        self.findings.setdefault(finding, {}).setdefault(what, when)

    def check(self, when):
        """True when nothing is on its way any more, and each newest version is delivered."""
        found = self.packets.find()
        for version in self.packets.versions.values():
            if not found.places(version) and not self.packets.is_replaced(version, found):
                self.note(LOST, f"{version.packet}, version {version.number}", when)
        for place, path in found.strangers:
            self.note(self.kind_of_stranger(place, path, found), f"{path.name} in the {PLACE_NAMES[place]}", when)
        for packet, number in found.delivered.items():
            if number < self.delivered.get(packet, 0):
                self.note(OLDER, packet, when)
            self.delivered[packet] = max(number, self.delivered.get(packet, 0))
        return self.packets.all_delivered(found)

    def kind_of_stranger(self, place, path, found):
        """What a cut transfer leaves on a server can be received, and stays until the whole packet comes, which is on its way
        then; docs/limits.md tells so."""
        name = packet_of(path.relative_to(self.packets.folders[place]).as_posix().lower())
        waits = any({SEND, REMOTE} & set(places) for version, places in found.versions.items() if version.packet == name)
        if self.scenario.server and waits and (place == REMOTE or REST in self.findings):
            return REST
        return WRONG if place == INBOX else HALF
