"""What the benchmarks of programs share: data that is the same on every machine, a race, and a row of the table."""
import concurrent.futures
import itertools
import os
import pathlib
import random
import struct
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
MB = 1 << 20
PAGE = 4096
ROUNDS = 3


class Database:
    """Pages of rows: a header, numbers that look random, texts of common words, and unused space at the end."""

    def __init__(self):
        self.random = random.Random(1)
        letters = "aeionrtsldmkpu"
        self.words = [self.word(letters).encode("ascii" if number % 8 else "utf-16-le")
                      for number in range(2000)]

    def word(self, letters):
        return "".join(self.random.choices(letters, k=self.random.randint(3, 10)))

    def page(self, number):
        numbers = self.random.randbytes(12 * 30)
        words = iter(self.random.choices(self.words, k=300))
        page = bytearray(struct.pack("<IIII", 0x0101, number, 30, 0))
        for row, length in enumerate(self.random.choices(range(4, 14), k=30)):
            text = b" ".join(itertools.islice(words, length))
            page += struct.pack("<IH", number * 30 + row, len(text)) + numbers[12 * row:12 * row + 12] + text
            if len(page) > PAGE - 400:
                break
        return page.ljust(PAGE, b"\0")

    def pages(self, first, count):
        return b"".join(self.page(number) for number in range(first, first + count))


def in_process(function, *arguments):
    """A program's peak memory counts that of the process which starts it: ours must stay small."""
    with concurrent.futures.ProcessPoolExecutor(1) as pool:
        return pool.submit(function, *arguments).result()


def windows(path):
    """A path of this machine as Windows programs see it."""
    return "Z:" + str(path).replace("/", "\\")


def program(bits, name):
    return [ROOT / "tools/wine", ROOT / f"build/win{bits}/bin/{name}.exe"]


class Run:
    """What one run of a program took, and how large its output is."""

    def __init__(self, command, output, good=(0,)):
        output.unlink(missing_ok=True)
        start = time.monotonic()
        process = subprocess.Popen(list(map(str, command)), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        self.seconds = time.monotonic() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode not in good or not output.exists():
            sys.exit(f"bench: {' '.join(map(str, command))} failed with {process.returncode}")
        self.processor = usage.ru_utime + usage.ru_stime  # seconds
        self.memory = usage.ru_maxrss / 1024  # MB
        self.size = output.stat().st_size  # bytes


def race(commands, output, good=(0,)):
    """The best of some runs each, by name; in turns, so that caches and other load favour none."""
    turns = [{name: Run(command, output, good) for name, command in commands.items()} for _ in range(ROUNDS)]
    return {name: min((turn[name] for turn in turns), key=lambda run: run.seconds) for name in commands}


def print_row(figure, unit, ours, peer="", theirs=0, limit=0):
    """A figure as bench/run reads it; smaller is better. limit: the largest ratio, without a peer value, that will do."""
    print("row", figure, unit, f"{ours:.6g}", peer, f"{theirs:.6g}", limit, sep="\t", flush=True)
