#!/usr/bin/env python3
"""tests/guides.py BIN: runs the commands that README and the guides show, and compares what they print.

A command stands in an indented block behind "> ", what it prints in the lines below it; "…" stands for anything.
Each document begins without the folder C:\\Transport. Of other commands (make, tools, tests) the target or file must
be there. Without BIN only that is checked.
"""
import argparse
import pathlib
import re
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(HERE / "e2e"))

import support  # noqa: E402

DOCUMENTS = ["README.md", "CONTRIBUTING.md", *sorted(str(path.relative_to(ROOT)) for path in (ROOT / "docs").glob("*.md"))]
DRIVE = pathlib.Path("build/setup/wineprefix/drive_c")
PROMPT = "> "
INDENT = "    "


def blocks_of(text):
    """Indented blocks, as [(number of the first line, lines)]."""
    block, start = [], 0
    for number, line in enumerate([*text.splitlines(), "end"], 1):
        if line.startswith(INDENT):
            start = start or number
            block.append(line[len(INDENT):])
        elif block and line.strip():
            yield start, block
            block, start = [], 0
        elif block:
            block.append("")


def examples_in(block):
    """[command, lines that it prints], in order."""
    examples = []
    for line in block:
        if line.startswith(PROMPT):
            examples.append((line.removeprefix(PROMPT), []))
        elif examples:
            examples[-1][1].append(line)
    return examples


def trimmed(lines):
    lines = [line.rstrip() for line in lines]
    while lines and not lines[-1]:
        lines.pop()
    return lines


def run(command):
    """What a console of Windows shows."""
    outcome = support.run("/c", command, program="cmd", env=support.os.environ | {"WINEPATH": support.windows(support.BIN)},
                          cwd=ROOT / DRIVE)
    return trimmed((outcome.output + outcome.errors).splitlines())


def fits(shown, printed):
    pattern = re.escape("\n".join(trimmed(shown))).replace("…", ".*")
    return re.fullmatch(pattern, "\n".join(printed)) is not None


def check_examples(document, block, start):
    """Failures; the number of commands that were run."""
    for command, shown in (examples := examples_in(block)):
        printed = run(command)
        if not fits(shown, printed):
            yield f"{document}, block of line {start}: {command}\n--- shown\n" + "\n".join(shown) + "\n--- printed\n" + "\n".join(printed)
    check_examples.count += len(examples)


def check_programs(document, block, start):
    """Targets and files that other commands name."""
    for line in block:
        target = re.match(r"make ([a-z-]+)", line)
        path = re.match(r"(?:tools|tests|bench|installer)/[\w./-]+", line)
        if target and subprocess.run(["make", "-n", target[1]], cwd=ROOT, capture_output=True, check=False).returncode:
            yield f"{document}, block of line {start}: there is no target {target[1]}"
        if path and not (ROOT / path[0]).exists():
            yield f"{document}, block of line {start}: there is no {path[0]}"
        check_programs.count += bool(target or path)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bin", type=pathlib.Path, nargs="?", help="folder of the programs")
    arguments = parser.parse_args()
    support.BIN = arguments.bin and arguments.bin.resolve()
    checks = [check_programs, *([check_examples] if arguments.bin else [])]
    check_examples.count = check_programs.count = 0
    failures = []
    for document in DOCUMENTS:
        shutil.rmtree(ROOT / DRIVE / "Transport", ignore_errors=True)
        for start, block in blocks_of((ROOT / document).read_text(encoding="utf-8")):
            for check in checks:
                failures += check(document, block, start)
    shutil.rmtree(ROOT / DRIVE / "Transport", ignore_errors=True)
    print("\n".join(failures))
    print(f"{check_examples.count} commands run, {check_programs.count} looked up, {len(failures)} failures")
    sys.exit(bool(failures))


if __name__ == "__main__":
    main()
