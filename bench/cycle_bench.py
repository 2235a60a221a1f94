#!/usr/bin/env python3
"""bench/cycle_bench.py BITS: cycles of the host beside the calls into the system that a cycle cannot do without.

Packets of 1 KB in folders of 100, from an outbox to the other side's inbox through a shared folder.
"""
import argparse
import os
import pathlib
import shutil
import sys
import tempfile

from contest import ROOT, Run, print_row, program

sys.path.append(str(ROOT / "tests" / "e2e"))
import support  # noqa: E402

PER_FOLDER = 100
COUNTS = {100: 6, 1_000: 4, 10_000: 2, 30_000: 2}  # packets, and rounds
MOST = 1.3
MOST_MEMORY = 64  # MB


def put_packets(outbox, count):
    content = os.urandom(1024)
    for number in range(count):
        path = outbox / str(number // PER_FOLDER) / f"packet{number}.mdb"
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(content)


class Pair:
    """Two fresh installations with packets in the outbox of one."""

    def __init__(self, root, count):
        shutil.rmtree(root, ignore_errors=True)
        support.make_pair(root)
        self.field, self.enterprise = (support.Side(root, name) for name in ("field", "enterprise"))
        self.share = root / "share" / "to-enterprise"
        put_packets(self.field.outbox, count)

    def check(self, count):
        if sum(path.is_file() for path in self.enterprise.inbox.rglob("*.mdb")) != count:
            sys.exit("bench: packets are missing")


def run(command, scratch):
    """A run of a program that leaves no output but files."""
    witness = scratch / "ended"
    return Run(["sh", "-c", '"$@" && touch "$0"', witness, *command], witness)


def host_cycles(bits, count, scratch):
    """(send, receive) of the host."""
    pair = Pair(scratch / "host", count)
    runs = [run([*program(bits, "znhost"), "run", support.windows(side.settings)], scratch)
            for side in (pair.field, pair.enterprise)]
    pair.check(count)
    return runs


def bare_cycles(bits, count, scratch):
    """(send, receive) of the bare calls."""
    pair = Pair(scratch / "bare", count)
    calls = [ROOT / "tools/wine", ROOT / f"build/win{bits}/bench/cycle_bench.exe"]
    runs = [run([*calls, *map(support.windows, arguments)], scratch) for arguments in (
        ["send", pair.field.outbox, pair.field.sent, pair.field.send, pair.share],
        ["receive", pair.share, pair.enterprise.receive, pair.enterprise.inbox])]
    pair.check(count)
    return runs


def race_cycles(bits, count, scratch):
    """The best (send, receive) of the host, and of the bare calls. Each is first as often as the other: a disk is not as
    fast all the time."""
    contenders = [host_cycles, bare_cycles]
    rounds = []
    for _ in range(COUNTS.get(count, 2)):
        rounds.append({contender: contender(bits, count, scratch) for contender in contenders})
        contenders.reverse()
    return [[min((one[contender][direction] for one in rounds), key=lambda run: run.seconds) for direction in (0, 1)]
            for contender in (host_cycles, bare_cycles)]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bits", choices=("32", "64"))
    parser.add_argument("packets", type=int, nargs="*", default=list(COUNTS))
    arguments = parser.parse_args()
    support.BIN = ROOT / f"build/win{arguments.bits}/bin"
    with tempfile.TemporaryDirectory(prefix="cycle-bench-") as temporary:
        for count in arguments.packets:
            best = race_cycles(arguments.bits, count, pathlib.Path(temporary))
            for direction, ours, theirs in zip(("send", "receive"), *best):
                figure = f"Cycle, {direction} {count:,} packets"
                print_row(f"{figure}, per packet", "us", ours.seconds / count * 1e6, "the calls it needs",
                          theirs.seconds / count * 1e6, MOST if count >= 1000 else 0)
                print_row(f"{figure}, memory", "MB", ours.memory, limit=MOST_MEMORY)


if __name__ == "__main__":
    main()
