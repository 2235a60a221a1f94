#!/usr/bin/env python3
"""Zip.exe against the zip of this machine: the same 256 MB at levels 1, 6 and 9, and the memory for 1 GB.

Elapsed seconds count; those of the processor tell more on a machine that has other work.

The contenders take turns, and the best of their rounds counts, so that caches and other load favour none.
"""
import argparse
import os
import pathlib
import random
import struct
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
MB = 1 << 20
KIND_SIZE = 256 * MB // 3
PATTERN_SIZE = 8 * MB  # far beyond the reach of a match, so that repeating it helps nobody
ROUNDS = 3
MOST_TIME = 1.3
MOST_SIZE = 1.02


def words(rng, size):
    vocabulary = ["".join(rng.choices("etaoinshrdlucmfwypvbgkqjxz", k=rng.randint(2, 11))) for _ in range(6000)]
    weights = [1 / rank for rank in range(1, len(vocabulary) + 1)]
    lines, length = [], 0
    while length < size:
        lines.append(" ".join(rng.choices(vocabulary, weights, k=rng.randint(8, 14))) + "\n")
        length += len(lines[-1])
    return "".join(lines).encode()[:size]


def pages(rng, size):
    """Pages of 4 KB: a header, rows of numbers and UTF-16 texts, a rest of zeros."""
    names = words(rng, MB // 4).decode().split()
    made = []
    for page in range(size // 4096):
        rows = [struct.pack("<HHI", page & 0xFFFF, 0x0103, page * 37)]
        for row in range(rng.randint(20, 40)):
            text = " ".join(rng.choices(names, k=3)).encode("utf-16-le")[:60]
            rows.append(struct.pack("<IHdI", page * 64 + row, rng.randint(0, 40), rng.randrange(1000),
                                    1_700_000_000 + page * 977 + row) + text)
        made.append(b"".join(rows)[:4096].ljust(4096, b"\0"))
    return b"".join(made)


def noise(rng, size):
    return rng.randbytes(size)


def write(path, pattern, size):
    with path.open("wb") as out:
        for start in range(0, size, len(pattern)):
            out.write(pattern[:size - start])


class Contender:
    def __init__(self, command, archive):
        self.command = command
        self.archive = archive

    def pack(self, level, file):
        """Seconds elapsed and of the processor, and bytes of the archive."""
        start = time.monotonic()
        process = self.start(level, file)
        _, status, usage = os.wait4(process.pid, 0)
        seconds = time.monotonic() - start
        if status != 0:
            raise SystemExit(f"zip_bench.py: {self.command[-1]} failed")
        return seconds, usage.ru_utime + usage.ru_stime, self.archive.stat().st_size

    def peak_memory(self, level, file):
        """Bytes. The usage that the system reports at the end would count this process before it became the other."""
        process = self.start(level, file)
        peak = 0
        while process.poll() is None:
            status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
            if "VmHWM" in status and "Zip.exe" in status:
                peak = int(status.split("VmHWM:")[1].split()[0]) * 1024
            time.sleep(0.02)
        if process.returncode != 0 or peak == 0:
            raise SystemExit(f"zip_bench.py: the memory of {self.command[-1]} could not be measured")
        return peak

    def start(self, level, file):
        self.archive.unlink(missing_ok=True)
        return subprocess.Popen([*self.command, f"-{level}", "-jo", str(self.archive), str(file)],
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)


def compare(contenders, level, file):
    results = [[contender.pack(level, file) for contender in contenders] for _ in range(ROUNDS)]
    return [tuple(min(columns) for columns in zip(*(turn[i] for turn in results)))
            for i in range(len(contenders))]


def report(level, name, ours, theirs):
    time_ratio, processor_ratio, size_ratio = (our / their for our, their in zip(ours, theirs))
    verdict = "" if time_ratio <= MOST_TIME and size_ratio <= MOST_SIZE else "  over the limit"
    print(f"{level:5}  {name:5}  {ours[0]:7.2f} {theirs[0]:6.2f} {time_ratio:6.2f}  "
          f"{ours[1]:9.2f} {theirs[1]:6.2f} {processor_ratio:6.2f}  "
          f"{ours[2]:11,} {theirs[2]:11,} {size_ratio:6.3f}{verdict}", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bits", choices=["32", "64"])
    bits = parser.parse_args().bits
    with tempfile.TemporaryDirectory(prefix="zip-bench-") as folder:
        scratch = pathlib.Path(folder)
        program = ROOT / "build" / f"win{bits}" / "bin" / "Zip.exe"
        contenders = [Contender([ROOT / "tools" / "wine", program], scratch / "ours.afz"),
                      Contender(["zip", "-q"], scratch / "theirs.zip")]
        files = {}
        for make in (words, pages, noise):
            files[make.__name__] = scratch / make.__name__
            write(files[make.__name__], make(random.Random(make.__name__), PATTERN_SIZE), KIND_SIZE)
        print("               elapsed                  processor                bytes\n"
              "level  data   Zip.exe    zip  ratio    Zip.exe    zip  ratio      Zip.exe         zip  ratio")
        for level in (1, 6, 9):
            rows = {name: compare(contenders, level, file) for name, file in files.items()}
            for name, (ours, theirs) in rows.items():
                report(level, name, ours, theirs)
            report(level, "all", *([sum(column) for column in zip(*side)] for side in zip(*rows.values())))
        large = scratch / "large"
        write(large, pages(random.Random("pages"), PATTERN_SIZE), 1024 * MB)
        memory = contenders[0].peak_memory(1, large)
        print(f"1 GB of pages at level 1: {memory / MB:.1f} MB of memory at most")


if __name__ == "__main__":
    main()
