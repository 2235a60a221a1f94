#!/usr/bin/env python3
"""Zip.exe against the zip of this machine: the same 256 MB at levels 1, 6 and 9, and the memory for 1 GB.

Elapsed seconds count; those of the processor tell more on a machine that has other work.
"""
import argparse
import pathlib
import random
import tempfile

from contest import MB, PAGE, Database, Run, in_process, print_row, program, race, windows

KIND_SIZE = 256 * MB // 3
PATTERN_SIZE = 8 * MB  # far beyond the reach of a match, so that repeating it helps nobody
MOST_TIME = 1.3
MOST_SIZE = 1.02
MOST_MEMORY = 32  # MB


def words(size):
    rng = random.Random("words")
    vocabulary = ["".join(rng.choices("etaoinshrdlucmfwypvbgkqjxz", k=rng.randint(2, 11))) for _ in range(6000)]
    weights = [1 / rank for rank in range(1, len(vocabulary) + 1)]
    lines, length = [], 0
    while length < size:
        lines.append(" ".join(rng.choices(vocabulary, weights, k=rng.randint(8, 14))) + "\n")
        length += len(lines[-1])
    return "".join(lines).encode()[:size]


def pages(size):
    return Database().pages(0, size // PAGE)


def noise(size):
    return random.Random("noise").randbytes(size)


def write(path, make, size):
    pattern = make(PATTERN_SIZE)
    with path.open("wb") as out:
        for start in range(0, size, len(pattern)):
            out.write(pattern[:size - start])
    return path


def compare(bits, level, file, archive):
    """The columns of the table: seconds elapsed and of the processor, and bytes, for Zip.exe and for zip."""
    runs = race({
        "ours": [*program(bits, "Zip"), f"-{level}", "-jo", windows(archive), windows(file)],
        "theirs": ["zip", f"-{level}", "-jqo", archive, file],
    }, archive)
    return [(run.seconds, run.processor, run.size) for run in runs.values()]


def report(level, name, ours, theirs):
    for figure, unit, limit, our, their in zip(("time", "time of the processor", "size"), ("s", "s", "bytes"),
                                               (MOST_TIME, 0, MOST_SIZE), ours, theirs):
        print_row(f"Zip of {name}, level {level}, {figure}", unit, our, "zip", their, limit)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bits", choices=["32", "64"])
    bits = parser.parse_args().bits
    with tempfile.TemporaryDirectory(prefix="zip-bench-") as folder:
        scratch = pathlib.Path(folder)
        archive = scratch / "archive.zip"
        files = {make.__name__: in_process(write, scratch / make.__name__, make, KIND_SIZE)
                 for make in (words, pages, noise)}
        for level in (1, 6, 9):
            rows = {name: compare(bits, level, file, archive) for name, file in files.items()}
            for name, (ours, theirs) in rows.items():
                report(level, name, ours, theirs)
            report(level, "all kinds", *([sum(column) for column in zip(*side)] for side in zip(*rows.values())))
        large = in_process(write, scratch / "large", pages, 1024 * MB)
        run = Run([*program(bits, "Zip"), "-1", "-jo", windows(archive), windows(large)], archive)
        print_row("Zip of 1 GB, memory", "MB", run.memory, limit=MOST_MEMORY)


if __name__ == "__main__":
    main()
