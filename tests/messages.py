#!/usr/bin/env python3
"""Compares the messages of docs/operations.md with those of the sources; prints both counts, which must be equal.

A message is a text of the sources that reads like a part of a sentence, in the folders whose texts get into the log or
the report of a run, with a gap for what is put into it while it is made.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
GUIDE = "docs/operations.md"
# Where reports are made, and failures that become parts of them. Complaints about settings and arguments name their
# culprit themselves.
PLACES = ("base", "common", "encoders", "ftp/*.cpp", "ftp/*.h", "http", "mobile", "packets", "sendrecv", "services", "transport", "ui", "webdav",
          "host/console/Watchdog.cpp", "host/cycle", "host/loop", "host/session", "host/service/ServiceProcess.cpp")
# Texts that no log holds: headlines of a transfer and states of packets, answers for people and programs.
NO_MESSAGES = ("host/cycle/OutcomeWords.cpp", "mobile/frmFTP.cpp", "sendrecv/frmPromptFTP.cpp", "webdav/DavPromises.cpp")
TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|L?"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\]|\\.)*\'|[A-Za-z_][\w:]*|\d[\w\']*|\s+|.', re.S)
OPENING, CLOSING, ENDS = "([{", ")]}", ",;?:"
GAP = "…"


def tokens_of(text):
    """Without comments, directives and blanks."""
    text = re.sub(r"(?m)^\s*#.*$", "", text)
    return [token for token in TOKEN.findall(text) if not token.isspace() and not token.startswith(("//", "/*"))]


def is_text(token):
    return token.startswith(('L"', '"'))


def content(token):
    body = token[token.index('"') + 1:-1]
    return re.sub(r"\\[rnt]", " ", body).replace('\\"', '"').replace("\\\\", "\\")


def message_at(tokens, start):
    """The text that begins at a literal, and the indices of all literals in it."""
    parts, taken, depth = [GAP] if start and tokens[start - 1] == "+" else [], set(), 0
    for index in range(start, len(tokens)):
        token = tokens[index]
        if depth == 0 and (token in CLOSING or token in ENDS):
            break
        depth += (token in OPENING) - (token in CLOSING)
        if depth == 0 and is_text(token):
            parts.append(content(token))
            taken.add(index)
        elif token != "+" and (not parts or parts[-1] != GAP):
            parts.append(GAP)
    return re.sub(r"\s+", " ", "".join(parts)).strip(), taken


def is_sentence(text):
    return len(re.findall(r"(?<!\S)[\"'(]?[A-Za-z][A-Za-z'-]+[.,;:)\"']*(?!\S)", text.replace(GAP, " "))) >= 3


def messages_in(path):
    tokens = tokens_of(path.read_text(encoding="utf-8"))
    taken = set()
    for index, token in enumerate(tokens):
        if is_text(token) and index not in taken:
            text, literals = message_at(tokens, index)
            taken |= literals
            if is_sentence(text):
                yield text


def sources():
    for place in PLACES:
        path = ROOT / place
        found = path.rglob("*") if path.is_dir() else ROOT.glob(place)
        yield from sorted(file for file in found if file.suffix in (".cpp", ".h"))


def told_by_sources():
    """{message: the file that holds it}."""
    found = {}
    for path in sources():
        name = path.relative_to(ROOT).as_posix()
        if name not in NO_MESSAGES:
            for text in messages_in(path):
                found.setdefault(text, name)
    return found


def told_by_guide():
    """The messages of the guide: first cells of its tables, in quotation marks."""
    lines = (ROOT / GUIDE).read_text(encoding="utf-8").splitlines()
    return [found[1] for found in (re.match(r"\| “(.*?)” \|", line) for line in lines) if found]


def main():
    sources_tell, guide_tells = told_by_sources(), told_by_guide()
    for text, name in sources_tell.items():
        if text not in guide_tells:
            print(f"{name}: {GUIDE} does not tell of: {text}")
    for text in guide_tells:
        if text not in sources_tell:
            print(f"{GUIDE}: no source holds: {text}")
    print(f"messages of the sources: {len(sources_tell)}, of the guide: {len(guide_tells)}")
    sys.exit(0 if sorted(sources_tell) == sorted(guide_tells) else 1)


if __name__ == "__main__":
    main()
