"""Where each version of each packet is, by content alone. Names that differ in letter case are one, as on Windows."""
import dataclasses
import hashlib
import pathlib
import re
import zipfile

ARRIVAL = re.compile(r"~\d+-\d+\.arriving$")
TEST_FILE = "rwd_testfile.txt"
ZIP, DIFFERENCE = ".afz", ".axd"
KEPT_NAMES = ("_bak", "_bck")

# Places in the order in which a packet passes them.
OUTBOX, SEND, REMOTE, RECEIVE, INBOX = range(5)
KEPT = 5
ON_ITS_WAY = {OUTBOX, SEND, REMOTE, RECEIVE}
PLACE_NAMES = ("outbox", "send folder", "remote folder", "receive folder", "inbox", "kept copies")


@dataclasses.dataclass(frozen=True)
class Version:
    """number: from 0, the oldest."""
    packet: str
    number: int


@dataclasses.dataclass
class Found:
    """What lies in the folders. strangers: files under names that a receiver takes, or in the inbox, whose content
    is no version of the packet that they are named after: (place, path)."""
    versions: dict = dataclasses.field(default_factory=dict)  # Version: set of places
    delivered: dict = dataclasses.field(default_factory=dict)  # packet: number
    strangers: list = dataclasses.field(default_factory=list)

    def add(self, version, place):
        self.versions.setdefault(version, set()).add(place)
        if place == INBOX:
            self.delivered[version.packet] = version.number

    def places(self, version):
        return self.versions.get(version, set())


class Packets:
    """All versions that were made, and the folders that they pass."""

    def __init__(self, folders, kept, decode_difference):
        """folders: by place. kept: folders of copies. decode_difference(path) is the content of a file, or None."""
        self.folders = folders
        self.kept = kept
        self.decode_difference = decode_difference
        self.versions = {}  # hash: Version
        self.decoded = {}  # hash of the encoded file: content's hash or None

    def make(self, packet, content):
        packet = packet.lower()
        number = sum(version.packet == packet for version in self.versions.values())
        self.versions[hash_of(content)] = Version(packet, number)

    def newest(self):
        newest = {}
        for version in sorted(self.versions.values(), key=lambda version: version.number):
            newest[version.packet] = version
        return newest.values()

    def is_replaced(self, version, found):
        """Whether a newer one is on its way, beyond the outbox, in its place."""
        return any(found.places(newer) - {OUTBOX} for newer in self.versions.values()
                   if newer.packet == version.packet and newer.number > version.number)

    def all_delivered(self, found):
        """Whether nothing is on its way any more, and each newest version has arrived."""
        return not found.strangers and not any(places & ON_ITS_WAY for places in found.versions.values()) and all(
            INBOX in found.places(version) for version in self.newest())

    def explain(self, found):
        """Why all is not delivered."""
        for version in self.newest():
            places = ", ".join(PLACE_NAMES[place] for place in sorted(found.places(version))) or "nowhere"
            yield f"{version.packet}: the newest version is in: {places}"
        for version, places in found.versions.items():
            if places & ON_ITS_WAY:
                yield f"{version.packet}, version {version.number} waits"
        yield from (f"{path} in the {PLACE_NAMES[place]}" for place, path in found.strangers)

    def find(self):
        found = Found()
        for folder in self.kept:
            for path in files_below(folder):
                if version := self.version_in(path):
                    found.add(version, KEPT)
        for place, folder in self.folders.items():
            for path in files_below(folder):
                if not any(path.is_relative_to(kept) for kept in self.kept):
                    self.look_at(path, path.relative_to(folder).as_posix().lower(), place, found)
        return found

    def look_at(self, path, name, place, found):
        if ARRIVAL.search(name) or path.name.lower() == TEST_FILE:
            return
        version = self.version_in(path)
        if name.endswith(KEPT_NAMES) and place in (SEND, INBOX):
            if version:
                found.add(version, KEPT)
        elif version and version.packet == (name if place in (OUTBOX, INBOX) else packet_of(name)):
            found.add(version, place)
        elif place != OUTBOX:
            found.strangers.append((place, path))

    def version_in(self, path):
        content = path.read_bytes()
        digest = hash_of(content)
        if digest in self.versions:
            return self.versions[digest]
        if digest not in self.decoded:
            decoded = self.decode(path)
            self.decoded[digest] = None if decoded is None else hash_of(decoded)
        return self.versions.get(self.decoded[digest])

    def decode(self, path):
        name = path.name.lower().removesuffix("_bck")
        if name.endswith(DIFFERENCE):
            return self.decode_difference(path)
        try:
            with zipfile.ZipFile(path) as archive:
                member, = archive.namelist()
                return archive.read(member)
        except (zipfile.BadZipFile, ValueError, EOFError):
            return None


def packet_of(name):
    """name: in small letters"""
    if name.endswith(ZIP):
        return name.removesuffix(ZIP)
    return name.rpartition("~")[0] if name.endswith(DIFFERENCE) else name


def hash_of(content):
    return hashlib.sha256(content).hexdigest()


def files_below(folder):
    return (path for path in pathlib.Path(folder).rglob("*") if path.is_file())
