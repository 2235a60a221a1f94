#!/usr/bin/env python3
"""bench/delta_bench.py BITS [MEGABYTES]: xDelta.exe against xdelta3 and xdelta over the same database-like files.

The best of three runs each, then xDelta.exe alone on files of four times the size: its memory must not grow with them. The data is the same on every machine.
"""
import argparse
import filecmp
import pathlib
import sys
import tempfile

from contest import MB, PAGE, Database, Run, in_process, print_row, program, race, windows

MOST = 1.0  # of the best peer
MOST_GROWTH = 1.1  # of memory, for four times the data


class ChangingDatabase(Database):
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
    database = ChangingDatabase()
    content = bytearray(database.pages(0, megabytes * MB // PAGE))
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


def best_of(runs, measure):
    """(name, value) of the peer that does best in one respect."""
    name = min(runs, key=lambda name: getattr(runs[name], measure))
    return name, getattr(runs[name], measure)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bits", choices=("32", "64"))
    parser.add_argument("megabytes", type=int, nargs="?", default=256)
    arguments = parser.parse_args()
    ours = program(arguments.bits, "xDelta")
    with tempfile.TemporaryDirectory(prefix="xdelta-bench-") as temporary:
        folder = pathlib.Path(temporary)
        reference, source = in_process(write_files, folder, arguments.megabytes)
        output, restored = folder / "delta", folder / "restored.mdb"
        # xdelta answers 1 when the files differ.
        best = race({
            "ours": [*ours, "delta", *map(windows, (reference, source, output))],
            "xdelta3": ["xdelta3", "-f", "-S", "none", "-e", "-s", reference, source, output],
            "xdelta": ["xdelta", "delta", reference, source, output],
        }, output, good=(0, 1))
        ours_best = best.pop("ours")
        for figure, unit, measure in (("time", "s", "seconds"), ("size", "bytes", "size"), ("memory", "MB", "memory")):
            print_row(f"Difference of {arguments.megabytes} MB, {figure}", unit, getattr(ours_best, measure),
                      *best_of(best, measure), MOST if figure != "memory" else 0)
        large = in_process(write_large_files, folder, reference, source)
        runs = {}
        for times, (first, second) in {1: (reference, source), 4: large}.items():
            runs["make", times] = Run([*ours, "delta", *map(windows, (first, second, output))], output)
            runs["apply", times] = Run([*ours, "patch", *map(windows, (output, first, restored))], restored)
            if not filecmp.cmp(second, restored, shallow=False):
                sys.exit("bench/delta_bench.py: the restored file differs")
        for step in ("make", "apply"):
            once, four_times = runs[step, 1], runs[step, 4]
            print_row(f"To {step} a difference of four times the data, time", "s", four_times.seconds, "of once", once.seconds)
            print_row(f"To {step} a difference of four times the data, memory", "MB", four_times.memory, "of once", once.memory,
                      MOST_GROWTH)


if __name__ == "__main__":
    main()
