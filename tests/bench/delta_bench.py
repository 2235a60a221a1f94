#!/usr/bin/env python3
"""tests/bench/delta_bench.py BITS [MEGABYTES]: xDelta.exe against xdelta3 and xdelta over the same database-like files.

Prints the best of three runs each, then xDelta.exe alone on files of four times the size: its memory must not
grow with them. The data is the same on every machine. "tools/wine-server run" keeps Wine warm for it.
"""
import argparse
import concurrent.futures
import filecmp
import itertools
import os
import pathlib
import random
import struct
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = 4096
ROUNDS = 3
HEADER = "{:<22} {:>8} {:>9} {:>12} {:>9}"


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

    def rewrite_pages(self, content):
        """1 % of the pages."""
        count = len(content) // PAGE
        for number in self.random.sample(range(count), count // 100):
            content[number * PAGE:(number + 1) * PAGE] = self.page(count + number)

    def change_fields(self, content):
        """40 fields of up to 16 bytes per megabyte, anywhere."""
        for _ in range(len(content) * 40 >> 20):
            length = self.random.randint(1, 16)
            at = self.random.randrange(len(content) - length)
            content[at:at + length] = self.random.randbytes(length)

    def insert_and_delete(self, content):
        size = len(content)
        for place, length in ((0.9, 700), (0.6, 100_000), (0.2, 33)):
            at = int(size * place)
            content[at:at] = self.pages(2 * size // PAGE, length // PAGE + 1)[50:50 + length]
        at = int(size * 0.4)
        del content[at:at + 150_000]

    def move_block(self, content):
        """A thirty-second part of the file."""
        size = len(content)
        begin, length, to = int(size * 0.75), size // 32, int(size * 0.1)
        block = content[begin:begin + length]
        del content[begin:begin + length]
        content[to:to] = block


def write_files(folder, megabytes):
    database = Database()
    content = bytearray(database.pages(0, megabytes * (1 << 20) // PAGE))
    reference, source = folder / "reference.mdb", folder / "source.mdb"
    reference.write_bytes(content)
    for change in (database.rewrite_pages, database.change_fields, database.insert_and_delete,
                   database.move_block):
        change(content)
    source.write_bytes(content)
    return reference, source


def write_large_files(folder, reference, source):
    """The same four times, each a little different, so that no copy is found in another."""
    paths = []
    for path in (reference, source):
        content = path.read_bytes()
        large = folder / f"large-{path.name}"
        with large.open("wb") as file:
            for number in range(4):
                file.write(content.translate(bytes(byte ^ number * 0x55 for byte in range(256))))
        paths.append(large)
    return paths


class Run:
    def __init__(self, arguments, output):
        output.unlink(missing_ok=True)
        start = time.monotonic()
        process = subprocess.Popen(list(map(str, arguments)), stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        self.seconds = time.monotonic() - start
        process.returncode = os.waitstatus_to_exitcode(status)
        # xdelta answers 1 when the files differ.
        if process.returncode not in (0, 1) or not output.exists():
            sys.exit(f"tests/bench/delta_bench.py: {arguments[0]} failed with {process.returncode}")
        self.processor = usage.ru_utime + usage.ru_stime
        self.memory = usage.ru_maxrss / 1024
        self.size = output.stat().st_size

    def print(self, name):
        print(HEADER.format(name, f"{self.seconds:.2f}", f"{self.processor:.2f}", f"{self.size:,}",
                            f"{self.memory:.0f}"), flush=True)


def in_process(function, *arguments):
    """A program's peak memory counts that of the process which starts it: ours must stay small."""
    with concurrent.futures.ProcessPoolExecutor(1) as pool:
        return pool.submit(function, *arguments).result()


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


def race(commands, output):
    best = {}
    for _ in range(ROUNDS):
        for name, command in commands.items():
            run = Run(command, output)
            if name not in best or run.seconds < best[name].seconds:
                best[name] = run
    for name, run in best.items():
        run.print(name)
    return best


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bits", choices=("32", "64"))
    parser.add_argument("megabytes", type=int, nargs="?", default=256)
    arguments = parser.parse_args()
    ours = [ROOT / "tools/wine", ROOT / f"build/win{arguments.bits}/bin/xDelta.exe"]
    with tempfile.TemporaryDirectory(prefix="xdelta-bench-") as temporary:
        folder = pathlib.Path(temporary)
        reference, source = in_process(write_files, folder, arguments.megabytes)
        output, restored = folder / "delta", folder / "restored.mdb"
        print(HEADER.format(f"{arguments.megabytes} MB", "seconds", "CPU s", "bytes", "peak MB"))
        best = race({
            "xDelta.exe delta": [*ours, "delta", *map(windows, (reference, source, output))],
            "xdelta3 -S none": ["xdelta3", "-f", "-S", "none", "-e", "-s", reference, source, output],
            "xdelta delta": ["xdelta", "delta", reference, source, output],
        }, output)
        delta = best.pop("xDelta.exe delta")
        print(f"time: {delta.seconds / min(run.seconds for run in best.values()):.2f} of the faster, "
              f"size: {delta.size / min(run.size for run in best.values()):.2f} of the smaller")
        large = in_process(write_large_files, folder, reference, source)
        for name, (first, second) in {"": (reference, source), ", four times": large}.items():
            Run([*ours, "delta", *map(windows, (first, second, output))], output).print("delta" + name)
            Run([*ours, "patch", *map(windows, (output, first, restored))], restored).print("patch" + name)
            if not filecmp.cmp(second, restored, shallow=False):
                sys.exit("tests/bench/delta_bench.py: the restored file differs")


if __name__ == "__main__":
    main()
