#!/usr/bin/env python3
"""Lets two installations exchange packets while a driver breaks whatever it can reach, and checks that none is lost.

Round after round: new versions of packets come into both outboxes, one trouble (or none) begins, cycles run, the trouble
ends, and every version of every packet must be where it may be. Every few rounds, cycles go on until all is delivered.
Each worker has installations of its own, which it throws away now and then for new ones of another kind.
"""
import argparse
import collections
import concurrent.futures
import contextlib
import dataclasses
import itertools
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import threading
import time
import unittest

HERE = pathlib.Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path[:0] = [str(HERE), str(HERE.parent / "e2e")]

import support  # noqa: E402
from dav import HttpsHostTest, Spoiler  # noqa: E402
from ftp import CuttingProxy, FtpHostTest  # noqa: E402
from packets import INBOX, RECEIVE, REMOTE, SEND, PLACE_NAMES, Packets, files_below  # noqa: E402
from stage import claims_beside, decode_difference, file_text, packets_between, prepare  # noqa: E402
from support import Holder, HostTest, Mount  # noqa: E402

WORKERS = 2
ROUNDS_OF_A_WORLD = 25
ROUNDS_TO_QUIET = 5
CYCLES_TO_QUIET = 8
PATIENCE = 180  # seconds after which a run hangs
NAMES = ("a.mdb", "b.xml", "c.dat", "SUB/d.mdb", "SUB/DEEP/e.mdb")
SIZES = (1, 700, 30_000, 600_000)
VOLUME = 48  # MB
STAGES = {"folder": HostTest, "pure-ftpd": FtpHostTest, "vsftpd": FtpHostTest,
          **dict.fromkeys(("apache", "nginx", "lighttpd", "rclone"), HttpsHostTest)}
TRANSPORTS = (*STAGES, "folder", "apache")
REQUESTS = 40  # of a cycle, more or less
ROUNDS_TO_TELL = 100
# Wine's server keeps the sockets of killed hosts, and takes ever more time for them; and a host that is killed while it
# reads the certificates of the system keeps all others from that until the last of them has ended.
ROUNDS_OF_A_SERVER = 160
ENCODERS = ("none", "zip", "xdelta")
TROUBLES = {}


def trouble(function):
    """Registers what can go wrong while cycles run: it ends with the block that it is entered for."""
    TROUBLES[function.__name__.replace("_", " ")] = contextlib.contextmanager(function)
    return function


class Finding(Exception):
    """What must not be."""


@dataclasses.dataclass
class Direction:
    """Packets from one side to the other."""
    outbox: pathlib.Path
    packets: Packets
    delivered: dict = dataclasses.field(default_factory=dict)  # packet: number of the newest version seen
    replaced: set = dataclasses.field(default_factory=set)  # versions that their author replaced in the outbox


class World:
    """Two installations of one kind, with what is wrong around them at the moment."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        transport = self.random.choice(TRANSPORTS)
        self.pair = STAGES[transport]()
        self.pair.KIND = transport
        self.server = None
        self.made = 0
        try:
            self.pair.setUp()
            self.server = getattr(self.pair, "server", None)
            self.arrange()
        except BaseException:
            self.close()
            raise
        self.kind = f"{transport}, {self.encoder}"

    def close(self):
        # Those that work for hosts that were killed: under Wine some of them wait for ever, and its server is busy.
        support.end_programs_naming(self.pair.scratch.name, ".exe\0")
        self.pair.doCleanups()

    def arrange(self):
        pair = self.pair
        self.volumes = []
        self.encoder = self.random.choice(ENCODERS)
        reference = self.random.randbytes(20_000)
        for side in (pair.field, pair.enterprise):
            volume = Mount(pair, pair.scratch / f"volume-{side.name}", f"{VOLUME}m")
            self.volumes.append(volume.folder)
            moved = self.random.sample(("inbox", "receive", "send"), self.random.randint(0, 2))
            for key in moved:
                side.change(key, volume.folder / key)
                setattr(side, key, volume.folder / key)
            side.change("encoder", self.encoder)
            side.change("patience", "60")
            side.change("backups", self.random.choice(("yes", "no")))
            side.take_reference(reference)
        self.reference = reference
        self.directions = [self.direction(pair.field, pair.enterprise, pair.to_enterprise),
                           self.direction(pair.enterprise, pair.field, pair.to_field)]

    def direction(self, sender, receiver, remote):
        return Direction(sender.outbox, packets_between(sender, receiver, remote,
                                                        lambda path: decode_difference(path, self.pair)))

    # --- What happens in a round --------------------------------------------------------------------------

    @property
    def sides(self):
        return [self.pair.field, self.pair.enterprise]

    def put_packets(self):
        for direction in self.directions:
            for name in self.random.sample(NAMES, self.random.randint(0, 3)):
                self.put(direction, name)

    def put(self, direction, name):
        """As a program saves it: whole under another name, then renamed."""
        content = b"%d " % self.made + self.random.randbytes(self.random.choice(SIZES)) + self.reference[:self.random.choice((0, 15_000))]
        path = direction.outbox / name
        if self.random.random() < 0.2 and not self.server:
            path = path.with_name(path.name.swapcase())
        path.parent.mkdir(parents=True, exist_ok=True)
        for other in path.parent.iterdir():
            if other.name.lower() == path.name.lower():
                other.rename(path)  # on Windows they are one
        draft = direction.outbox.with_name(f"draft-{self.made}")
        draft.write_bytes(content)
        self.made += 1
        # In the order in which they are made, whatever the clock of the machine does.
        os.utime(draft, (1_600_000_000 + 10 * self.made,) * 2)
        # A version that its own author replaces before it was added is nobody's loss.
        if path.is_file() and (version := direction.packets.version_in(path)):
            direction.replaced.add(version)
        direction.packets.make(name, content)
        os.replace(draft, path)

    def start(self, side):
        process = support.start("run", side.settings)
        self.running.append(process)
        return process

    def wait(self, process):
        try:
            process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            raise Finding("a cycle hangs") from None
        finally:
            process.kill()
            process.wait()
            self.said += [file_text(file) for file in process.outputs.values()]
        if process.returncode not in (0, 1, 2, -signal.SIGKILL):
            raise Finding(f"a cycle ended with {process.returncode}")

    def cycles(self):
        """Both sides, in one of the orders or at the same time."""
        self.running = []
        sides = self.random.sample(self.sides, 2)
        if self.random.random() < 0.4:
            for process in [self.start(side) for side in sides]:
                self.wait(process)
        else:
            for side in sides:
                self.wait(self.start(side))

    def round(self, name):
        self.said = []
        self.put_packets()
        with TROUBLES[name](self):
            self.cycles()
        self.check()

    def run_until_quiet(self):
        for _ in range(CYCLES_TO_QUIET):
            for side in self.sides:
                self.running = []
                self.wait(self.start(side))
            self.check()
            if all(self.is_delivered(direction) for direction in self.directions):
                return
        raise Finding("not delivered: " + "; ".join(self.waiting()))

    # --- What must hold -----------------------------------------------------------------------------------

    def check(self):
        for direction in self.directions:
            found = direction.packets.find()
            for version in direction.packets.versions.values():
                if not self.is_safe(direction, version, found):
                    raise Finding(f"lost: {version}")
            # What a cut transfer left on a server, and what was received of it, is replaced once its source comes.
            for place, path in () if isinstance(self.pair, FtpHostTest) else found.strangers:
                raise Finding(f"no version of its packet in the {PLACE_NAMES[place]}: {path}")
            for packet, number in found.delivered.items():
                if number < direction.delivered.get(packet, 0):
                    raise Finding(f"older: {packet} {number} over {direction.delivered[packet]}")
                direction.delivered[packet] = number

    def is_safe(self, direction, version, found):
        """It is somewhere, or a newer one is beyond the outbox, which takes its place."""
        return (bool(found.places(version)) or version in direction.replaced
                or direction.delivered.get(version.packet, -1) > version.number
                or direction.packets.is_replaced(version, found))

    def is_delivered(self, direction):
        claims = claims_beside(direction.packets.folders[REMOTE])
        return direction.packets.all_delivered(direction.packets.find()) and not any(files_below(claims))

    def waiting(self):
        for direction in self.directions:
            yield from direction.packets.explain(direction.packets.find())

    # --- Tools of troubles --------------------------------------------------------------------------------

    def some_folders(self):
        """The folders that packets pass, without the server's."""
        places = [SEND, RECEIVE, INBOX] + ([] if self.server else [REMOTE])
        return [direction.packets.folders[place] for direction in self.directions for place in places]

    def some_file(self):
        files = [path for folder in self.some_folders() + [direction.outbox for direction in self.directions]
                 if folder.is_dir() for path in folder.rglob("*") if path.is_file()]
        return self.random.choice(files) if files else None

    @contextlib.contextmanager
    def after_a_moment(self, action):
        """Runs an action in the middle of what the block does."""
        timer = threading.Timer(self.random.uniform(0.05, 1.2), action)
        timer.start()
        try:
            yield
        finally:
            timer.cancel()
            timer.join()


@trouble
def none(world):
    yield


@trouble
def killed_hosts(world):
    def kill():
        for process in world.running:
            process.kill()
    with world.after_a_moment(kill):
        yield


@trouble
def killed_server(world):
    if not world.server:
        yield from killed_hosts(world)
        return
    with world.after_a_moment(world.server.kill):
        yield
    if world.server.process:
        world.server.kill()
    world.server.start()


@trouble
def cut_lines(world):
    if not world.server:
        yield
    elif isinstance(world.pair, FtpHostTest):
        yield from cut_ftp_lines(world)
    else:
        yield from cut_https_lines(world)


def cut_ftp_lines(world):
    command, reply = world.random.choice(((b"STOR", b"150"), (b"STOR", b"226"), (b"RETR", b"150"), (b"RETR", b"226"),
                                          (b"DELE", b"250"), (b"LIST", b"226"), (b"CWD", b"250")))
    proxy = CuttingProxy(world.pair, world.server, command, reply)
    for side in world.sides:
        side.change("server", proxy.address)
    yield
    for side in world.sides:
        side.change("server", world.server.address)
    proxy.listener.close()


def cut_https_lines(world):
    """One request fails, or its answer gets lost."""
    spoiler = Spoiler(world.pair, world.server, world.random.choice(("refuse", "lose", "gateway")), world.random.randint(1, REQUESTS))
    world.pair.use(spoiler.url)
    yield
    world.pair.use(world.server.url)
    spoiler.close()


@trouble
def full_disk(world):
    volume = world.random.choice(world.volumes)
    filler = volume / "filler"
    with contextlib.suppress(OSError), filler.open("wb") as file:
        file.write(bytes((VOLUME << 20) - world.random.randint(0, 60_000)))
        file.write(bytes(VOLUME << 20))
    yield
    filler.unlink()


@trouble
def held_file(world):
    path = world.some_file()
    if not path:
        yield
        return
    try:
        holder = Holder(world.pair, path, *world.random.choice(((), ("write",))))
    except AssertionError:
        yield
        return
    yield
    holder.release()


@trouble
def protected_file(world):
    path = world.some_file()
    if not path:
        yield
        return
    path.chmod(0o444)
    yield
    # Copies take the protection over.
    subprocess.run(["chmod", "-R", "u+w", world.pair.scratch], check=True)


@trouble
def removed_folders(world):
    """Empty ones: who removes packets loses them."""
    def remove():
        for folder in world.some_folders():
            with contextlib.suppress(OSError):
                if not any(path.is_file() for path in folder.rglob("*")):
                    subprocess.run(["find", folder, "-depth", "-type", "d", "-empty", "-delete"], check=False,
                                   stderr=subprocess.DEVNULL)
    with world.after_a_moment(remove):
        yield


@trouble
def file_in_place_of_a_folder(world):
    folder = world.random.choice(world.some_folders())
    moved = folder.exists() and not any(folder.iterdir())
    if moved:
        folder.rmdir()
        folder.write_bytes(b"in the way")
    yield
    if moved and folder.is_file():
        folder.unlink()
        folder.mkdir()


@trouble
def other_letter_case(world):
    """Some tool renames a file. For a server that is another packet, and both stay there until somebody settles it."""
    path = None if world.server else world.some_file()
    if path and not path.with_name(path.name.swapcase()).exists():
        path.rename(path.with_name(path.name.swapcase()))
    yield


@trouble
def changed_settings(world):
    """From now on."""
    for side in world.sides:
        world.encoder = world.random.choice(ENCODERS)
        side.change("encoder", world.encoder)
        side.change("backups", world.random.choice(("yes", "no")))
    yield


@trouble
def packets_saved_meanwhile(world):
    with world.after_a_moment(world.put_packets):
        yield


@trouble
def other_times(world):
    """A clock that was set: everything that waits seems to be of another time."""
    moment = world.random.choice((315_532_800, 1_000_000_000, 2_000_000_000))
    for direction in world.directions:
        for place in (SEND, REMOTE):
            folder = direction.packets.folders[place]
            for path in folder.rglob("*") if folder.is_dir() else ():
                if path.is_file():
                    os.utime(path, (moment,) * 2)
    yield


class Torture:
    def __init__(self, arguments):
        self.arguments = arguments
        self.left = arguments.rounds
        self.left_of_server = ROUNDS_OF_A_SERVER
        self.stopped = False
        self.failed = False
        self.rounds = collections.Counter()
        self.kinds = collections.Counter()
        self.lock = threading.Lock()
        self.numbers = itertools.count(1)

    def take_round(self):
        with self.lock:
            if self.is_over():
                return False
            self.left -= 1
            self.left_of_server -= 1
            return True

    def is_over(self):
        return self.stopped or self.left == 0 or self.left_of_server == 0

    def say(self, text):
        with self.lock:
            print(text, flush=True)

    def work(self):
        while not self.is_over():
            self.one_world(f"{self.arguments.seed}.{next(self.numbers)}")

    def one_world(self, seed):
        try:
            world = World(seed)
        except unittest.SkipTest as reason:
            self.take_round()  # or it would go on for ever where there is no server
            return self.say(f"{seed}: skipped: {reason}")
        story = []
        try:
            for number in range(1, ROUNDS_OF_A_WORLD + 1):
                if not self.take_round():
                    break
                name = world.random.choice(list(TROUBLES))
                story.append(name)
                world.round(name)
                self.count(name, world.kind)
                if number % ROUNDS_TO_QUIET == 0:
                    world.run_until_quiet()
            world.run_until_quiet()
        except Finding as finding:
            self.tell(world, seed, story, finding)
        finally:
            world.close()

    def count(self, name, kind):
        with self.lock:
            self.rounds[name] += 1
            self.kinds[kind] += 1
            done = sum(self.rounds.values())
        if done % ROUNDS_TO_TELL == 0:
            self.say(f"{done} rounds")

    def tell(self, world, seed, story, finding):
        self.failed = True
        logs = "".join(f"--- {side.name}.log\n{side.log[-3000:]}\n" for side in world.sides)
        self.say(f"FOUND in world {seed} ({world.kind}), round {len(story)} ({story[-1]}): {finding}\n"
                 f"troubles before: {', '.join(story[-6:])}\n" + "".join(world.said[-4:]) + "\n" + logs)
        if self.arguments.keep:
            shutil.copytree(world.pair.scratch, self.arguments.keep / seed, dirs_exist_ok=True)

    def run(self):
        while not self.arguments.world:
            with concurrent.futures.ThreadPoolExecutor(self.arguments.workers) as pool:
                for task in [pool.submit(self.work) for _ in range(self.arguments.workers)]:
                    task.result()
            if self.stopped or self.left == 0:
                return
            self.left_of_server = ROUNDS_OF_A_SERVER
            subprocess.run([support.ROOT / "tools" / "wine-server", "stop"], check=True)
        self.one_world(self.arguments.world)

    def report(self):
        yield f"seed {self.arguments.seed}: {sum(self.rounds.values())} rounds"
        yield from (f"{count:7} rounds with {name}" for name, count in sorted(self.rounds.items()))
        yield from (f"{count:7} rounds of {name}" for name, count in sorted(self.kinds.items()))


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n\n")[0])
    parser.add_argument("build", type=pathlib.Path, help="folder of the build, such as build/win64")
    parser.add_argument("--rounds", type=int, default=-1, help="after which it ends (default: none)")
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 32), help="(default: another one each time)")
    parser.add_argument("--workers", type=int, default=WORKERS,
                        help=f"pairs of installations at a time (default: {WORKERS}; most of their time is waiting)")
    parser.add_argument("--world", help="only the installations that a finding names, with the same choices")
    parser.add_argument("--keep", type=pathlib.Path, help="folder for the folders of findings")
    arguments = parser.parse_args()
    torture = Torture(arguments)
    prepare(torture, arguments.build)
    began = time.monotonic()
    try:
        torture.run()
    finally:
        print("\n".join(torture.report()), f"\n{time.monotonic() - began:.0f} s", flush=True)
    sys.exit(1 if torture.failed else 0)


if __name__ == "__main__":
    main()
