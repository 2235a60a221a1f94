"""The faults that a call of a cycle can meet, by function and by what the call does."""
import dataclasses
import enum

FILE_NOT_FOUND = 2
PATH_NOT_FOUND = 3
ACCESS_DENIED = 5
SHARING_VIOLATION = 32
LOCK_VIOLATION = 33
NOT_SUPPORTED = 50
BAD_NETPATH = 53
NETNAME_DELETED = 64
DISK_FULL = 112
INTERNET_TIMEOUT = 12002
INTERNET_EXTENDED_ERROR = 12003
INTERNET_CANNOT_CONNECT = 12029
INTERNET_CONNECTION_RESET = 12031
FTP_DROPPED = 12111

SHARE_IS_GONE = (NETNAME_DELETED,)
# What a function can fail with in life.
ERRORS = {
    "CreateFileW": (PATH_NOT_FOUND, ACCESS_DENIED, SHARING_VIOLATION, NETNAME_DELETED),
    "ReadFile": SHARE_IS_GONE,
    "LockFileEx": SHARE_IS_GONE,
    "WriteFile": (DISK_FULL, NETNAME_DELETED),
    "SetEndOfFile": (DISK_FULL, NETNAME_DELETED),
    "FlushFileBuffers": (DISK_FULL, NETNAME_DELETED),
    "SetFileTime": (ACCESS_DENIED, NETNAME_DELETED),
    "SetFileInformationByHandle (name)": (ACCESS_DENIED, SHARING_VIOLATION, NETNAME_DELETED, DISK_FULL),
    "SetFileInformationByHandle (removal)": (ACCESS_DENIED, NETNAME_DELETED),
    "SetFileInformationByHandle (attributes)": (ACCESS_DENIED, NETNAME_DELETED),
    "CreateDirectoryW": (PATH_NOT_FOUND, ACCESS_DENIED, BAD_NETPATH, DISK_FULL),
    "RemoveDirectoryW": (ACCESS_DENIED, SHARING_VIOLATION, NETNAME_DELETED),
    "DeleteFileW": (PATH_NOT_FOUND, ACCESS_DENIED, SHARING_VIOLATION, NETNAME_DELETED),
    "MoveFileExW": (PATH_NOT_FOUND, ACCESS_DENIED, SHARING_VIOLATION, NETNAME_DELETED, DISK_FULL),
    "SetFileAttributesW": (ACCESS_DENIED, NETNAME_DELETED),
    "FindFirstFileW": (PATH_NOT_FOUND, ACCESS_DENIED, BAD_NETPATH),
    "FindFirstFileExW": (PATH_NOT_FOUND, ACCESS_DENIED, BAD_NETPATH),
    "FindNextFileW": SHARE_IS_GONE,
    "CreateProcessW": (ACCESS_DENIED, PATH_NOT_FOUND),
    "GetFileAttributesW": (ACCESS_DENIED, BAD_NETPATH),
    "GetFileAttributesExW": (ACCESS_DENIED, BAD_NETPATH),
}
ERRORS_OF_FILES = (ACCESS_DENIED, NETNAME_DELETED)
ERRORS_OF_SERVERS = (INTERNET_TIMEOUT, INTERNET_EXTENDED_ERROR, INTERNET_CONNECTION_RESET, FTP_DROPPED)
# Calls whose answer can get lost on the way back from a share or a server, after they were carried out.
ANSWERED = {"CreateDirectoryW", "RemoveDirectoryW", "DeleteFileW", "MoveFileExW", "SetFileInformationByHandle (name)",
            "SetFileInformationByHandle (removal)", "FtpPutFileA", "FtpGetFileA", "FtpDeleteFileA",
            "FtpRenameFileA", "FtpCreateDirectoryA", "FtpSetCurrentDirectoryA"}
# Calls that a full disk makes fail.
ROOM = {"CreateFileW", "WriteFile", "SetEndOfFile", "FlushFileBuffers", "CreateDirectoryW", "MoveFileExW"}
HALVED = {"WriteFile", "FtpPutFileA", "FtpGetFileA"}

LAST = 0x7FFFFFFF
PARTS = {"none": 0, "half": 1, "whole": 2}
ENDS = {"returns": 0, "fails": 1, "of run": 2}


class Mode(enum.Enum):
    """Part of its work that the call does, what its caller sees of it, and whether all later calls do the same."""
    END = ("none", "of run", False)
    END_HALF = ("half", "of run", False)
    END_DONE = ("whole", "of run", False)
    FAIL = ("none", "fails", False)
    FAIL_ON = ("none", "fails", True)
    FAIL_HALF = ("half", "fails", False)
    FAIL_DONE = ("whole", "fails", False)

    @property
    def word(self):
        return self.name.lower().replace("_", "-")


@dataclasses.dataclass(frozen=True)
class Call:
    """A line of the log of calls."""
    number: int
    program: str
    function: str
    kind: str
    path: str

    @property
    def is_of_server(self):
        return self.function.startswith(("Ftp", "Internet"))

    def __str__(self):
        return f"{self.program}: {self.function} {self.path}".rstrip()


def read_calls(log):
    if not log.exists():
        return []
    lines = log.read_text(encoding="utf-8").splitlines()
    return [Call(int(number), *rest) for number, *rest in (line.split("\t") for line in lines)]


@dataclasses.dataclass(frozen=True)
class Fault:
    """number: of the call, from 1. error: with which it fails, 0 where it does not return."""
    number: int
    mode: Mode
    error: int = 0

    def plan(self, with_states):
        """As the launcher reads it."""
        part, end, lasts = self.mode.value
        last = LAST if lasts else self.number
        return f"{PARTS[part]} {ENDS[end]} {self.number} {last} {self.error} {int(with_states)} 0"

    def __str__(self):
        return f"{self.number}.{self.mode.word}.{self.error}"

    @classmethod
    def parse(cls, number, word, error):
        return cls(int(number), Mode[word.upper().replace("-", "_")], int(error))


def count_plan(with_states):
    return f"{PARTS['whole']} {ENDS['returns']} 0 0 0 {int(with_states)} 1"


def errors_of(call):
    if not call.is_of_server:
        errors = ERRORS.get(call.function, ERRORS_OF_FILES)
        return errors + ((DISK_FULL,) if call.function == "CreateFileW" and call.kind == "change" else ())
    return ERRORS_OF_SERVERS + ((INTERNET_CANNOT_CONNECT,) if call.function == "InternetConnectA" else ())


def faults_of(call):
    """Every fault that a call can meet. A process that ends has no memory: its end after a call, or before one that
    changes nothing, is that before the next one that changes something; except where others go on with its work."""
    number, function = call.number, call.function
    lost = INTERNET_TIMEOUT if call.is_of_server else NETNAME_DELETED
    yield from (Fault(number, Mode.FAIL, error) for error in errors_of(call))
    yield Fault(number, Mode.FAIL_ON, INTERNET_CONNECTION_RESET if call.is_of_server else NETNAME_DELETED)
    if call.kind == "change":
        yield Fault(number, Mode.END)
        if call.is_of_server or function == "CreateProcessW":
            yield Fault(number, Mode.END_DONE)
    if function in ROOM and call.kind == "change":
        yield Fault(number, Mode.FAIL_ON, DISK_FULL)
    if function in HALVED:
        yield Fault(number, Mode.END_HALF)
        yield Fault(number, Mode.FAIL_HALF, INTERNET_CONNECTION_RESET if call.is_of_server else DISK_FULL)
    if function in ANSWERED:
        yield Fault(number, Mode.FAIL_DONE, lost)
