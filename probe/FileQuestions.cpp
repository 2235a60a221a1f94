// See Questions.h.
#include "probe/Questions.h"

#include <array>
#include <atomic>
#include <chrono>
#include <optional>
#include <thread>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/IoCounters.h"
#include "base/Module.h"
#include "base/Path.h"
#include "base/RollBack.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "common/clsShell.h"

namespace probe {

namespace {

constexpr size_t kMegabyte = size_t{1} << 20;

/// A place for files, in which each question uses names of its own.
struct Folder {
    std::wstring path;

    std::wstring operator/(const wchar_t* name) const { return Path::Join(path, name); }
    std::wstring NewFile(const wchar_t* name, size_t size = 7) const {
        base::WriteNewFile(*this / name, std::string(size, 'x'));
        return *this / name;
    }
};

base::File Open(const std::wstring& path, DWORD access) {
    return base::File::Open(path, access, base::kShareAll, OPEN_EXISTING);
}

void Copy(const std::wstring& source, const std::wstring& copy) {
    if (!CopyFileW(source.c_str(), copy.c_str(), TRUE)) base::ThrowWin32(GetLastError(), copy);
}

/// The first size that a copy shows while it is made; nothing when most of it was made before anybody looked.
std::optional<std::uint64_t> FirstSize(const std::wstring& source, const std::wstring& copy) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    Clock::time_point seen = start;
    std::uint64_t first = 0;
    std::atomic<bool> copying = true;
    std::thread copier([&] {
        CopyFileW(source.c_str(), copy.c_str(), FALSE);
        copying = false;
    });
    while (copying && first == 0) {
        if (const auto version = FileSystem::VersionOf(copy)) first = version->size;
        seen = Clock::now();
    }
    copier.join();
    const bool isEarly = seen - start < (Clock::now() - start) / 2;
    return first != 0 && isEarly ? std::optional(first) : std::nullopt;
}

std::wstring SizeWhileCopying(const Folder& folder) {
    for (const size_t megabytes : {16, 64, 256}) {
        const std::wstring source = folder / L"large.source";
        const std::wstring copy = folder / L"large.copy";
        const base::RollBack removal([&] {
            FileSystem::TryDelete(source);
            FileSystem::TryDelete(copy);
        });
        folder.NewFile(L"large.source", megabytes * kMegabyte);
        if (const auto first = FirstSize(source, copy))
            return (*first == megabytes * kMegabyte ? L"the whole size: " : L"grows: ") +
                   std::to_wstring(*first) + L" of " + std::to_wstring(megabytes * kMegabyte);
    }
    throw NoOccasion{L"even a large file is copied before anybody can look at it"};
}

/// Some time long ago, to 100 ns.
constexpr base::FileTime kMoment{base::FileTime::duration(12'345'678'901'234'567)};

std::wstring CopiedTime(const Folder& folder) {
    const std::wstring source = folder.NewFile(L"time.source");
    Open(source, GENERIC_WRITE).SetModificationTime(kMoment);
    Copy(source, folder / L"time.copy");
    const bool kept = FileSystem::VersionOf(source) == FileSystem::VersionOf(folder / L"time.copy");
    return kept ? L"kept" : L"changed";
}

std::wstring TimeResolution(const Folder& folder) {
    const std::wstring path = folder.NewFile(L"resolution");
    Open(path, GENERIC_WRITE).SetModificationTime(kMoment);
    const auto difference = Open(path, GENERIC_READ).ModificationTime() - kMoment;
    if (difference == base::FileTime::duration::zero()) return L"exact";
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(difference).count();
    return L"off by " + std::to_wstring(microseconds) + L" microseconds";
}

std::wstring FlushCopy(const Folder& folder) {
    Copy(folder.NewFile(L"flush.source", kMegabyte), folder / L"flush.copy");
    const base::File copy = Open(folder / L"flush.copy", GENERIC_WRITE);
    const ULONGLONG start = GetTickCount64();
    const std::wstring outcome = Outcome(FlushFileBuffers(copy.Handle()));
    return outcome + L", " + std::to_wstring(GetTickCount64() - start) + L" ms";
}

/// attributes: of the file that is replaced.
std::wstring MoveOver(const Folder& folder, const wchar_t* name, DWORD attributes) {
    const std::wstring target = folder.NewFile(name);
    const std::wstring source = folder.NewFile(std::wstring(name).append(L".new").c_str());
    SetFileAttributesW(target.c_str(), attributes);
    std::wstring outcome = Outcome(
        MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
    SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL);
    return outcome;
}

std::wstring ReplaceExisting(const Folder& folder) {
    const std::wstring target = folder.NewFile(L"replaced");
    const std::wstring source = folder.NewFile(L"replaced.new");
    return Outcome(ReplaceFileW(target.c_str(), source.c_str(), nullptr, 0, nullptr, nullptr));
}

std::wstring TryCreate(const std::wstring& path) {
    return Outcome(static_cast<bool>(base::FileHandle(
        CreateFileW(path.c_str(), GENERIC_WRITE, base::kShareAll, nullptr, CREATE_NEW, 0, nullptr))));
}

/// As the product deletes a file that it holds.
std::wstring DeleteHeld(const Folder& folder) {
    const std::wstring path = folder.NewFile(L"held");
    base::File held = Open(path, GENERIC_READ);
    {
        const base::File named = Open(path, DELETE);
        FILE_DISPOSITION_INFO disposition{TRUE};
        if (!SetFileInformationByHandle(named.Handle(), FileDispositionInfo, &disposition,
                                        sizeof disposition))
            return Outcome(false);
    }
    const std::wstring meanwhile = TryCreate(path);
    if (meanwhile == L"done") return L"gone at once";
    held.Close();
    return L"pending, a new file of that name: " + meanwhile + L", after the last close: " + TryCreate(path);
}

/// The system sees the end of a process a little before what follows from it.
bool Disappears(const std::wstring& path) {
    constexpr int kTries = 500;
    for (int tries = 0; tries < kTries && FileSystem::FileExists(path); ++tries)
        Sleep(10);
    return !FileSystem::FileExists(path);
}

std::wstring LeftByDeadProcess(const Folder& folder) {
    const std::wstring path = folder / L"unfinished";
    clsShell shell;
    shell.Command(L"\"" + base::ProgramPath() + L"\" --die-holding \"" + path + L"\"");
    if (!shell.Execute()) base::ThrowWin32(GetLastError(), shell.Command());
    constexpr DWORD kMinute = 60'000;
    if (!shell.Wait(kMinute)) throw base::Error(E_ABORT, L"The process does not end: " + shell.Command());
    return Disappears(path) ? L"gone" : L"still there";
}

std::wstring RenameOpen(const Folder& folder) {
    const std::wstring path = folder.NewFile(L"open");
    const std::wstring target = folder / L"renamed";
    const base::File reader = Open(path, GENERIC_READ);
    const base::File named = Open(path, DELETE);
    std::vector<std::uint8_t> buffer(sizeof(FILE_RENAME_INFO) + target.size() * sizeof(wchar_t));
    auto& information = *reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
    information.FileNameLength = static_cast<DWORD>(target.size() * sizeof(wchar_t));
    target.copy(information.FileName, target.size());
    const auto size = static_cast<DWORD>(buffer.size());
    if (!SetFileInformationByHandle(named.Handle(), FileRenameInfo, &information, size))
        return Outcome(false);
    return FileSystem::FileExists(target) ? L"done" : L"said to be done, but not so";
}

std::wstring Identity(const Folder& folder) {
    BY_HANDLE_FILE_INFORMATION information{};
    const base::File file = Open(folder.NewFile(L"identity"), GENERIC_READ);
    if (!GetFileInformationByHandle(file.Handle(), &information)) return Outcome(false);
    const bool isZero = information.nFileIndexHigh == 0 && information.nFileIndexLow == 0;
    return std::wstring(isZero ? L"zero" : L"numbered") + L": " +
           base::Hexadecimal(information.nFileIndexHigh) + L" " +
           base::Hexadecimal(information.nFileIndexLow) + L" of volume " +
           base::Hexadecimal(information.dwVolumeSerialNumber);
}

std::wstring OtherCase(const Folder& folder) {
    folder.NewFile(L"CASE.tmp");
    return FileSystem::FileExists(folder / L"case.tmp") ? L"one file" : L"two files";
}

std::wstring LongPath(const Folder& folder) try {
    Folder deep = folder;
    constexpr size_t kLength = 500;
    while (deep.path.size() < kLength)
        deep.path = deep / std::wstring(100, L'd').c_str();
    FileSystem::CreateFolders(deep.path);
    return base::ReadFile(deep.NewFile(L"file")).empty() ? L"empty" : L"done";
} catch (const base::SystemError& error) {
    return ErrorAnswer(error.Code());
}

/// Its own name where it has no other.
std::wstring ShortNameOf(const std::wstring& path) {
    std::array<wchar_t, MAX_PATH> buffer{};
    if (GetShortPathNameW(path.c_str(), buffer.data(), buffer.size()) == 0)
        base::ThrowWin32(GetLastError(), path);
    return Path::FileName(buffer.data());
}

std::wstring ShortName(const Folder& folder) try {
    // No code page has both.
    const std::wstring path = folder.NewFile(L"\u6F22\u05D0.tmp");
    const std::wstring name = ShortNameOf(path);
    return name == Path::FileName(path) ? L"none" : name;
} catch (const base::SystemError& error) {
    return ErrorAnswer(error.Code());
}

/// The path of a new file by its short name.
std::wstring NewFileWithShortName(const Folder& folder, const wchar_t* name) {
    const std::wstring shortName = ShortNameOf(folder.NewFile(name));
    if (shortName == name) throw NoOccasion{L"the volume keeps no short names"};
    return folder / shortName.c_str();
}

std::wstring FoundByShortName(const Folder& folder) {
    constexpr auto kName = L"a name to be found.tmp";
    const std::wstring path = NewFileWithShortName(folder, kName);
    WIN32_FIND_DATAW found{};
    const base::SearchHandle search(FindFirstFileW(path.c_str(), &found));
    if (!search) return Outcome(false);
    const bool both = found.cFileName == std::wstring(kName) &&
                      base::EqualsIgnoringCase(found.cAlternateFileName, Path::FileName(path));
    return both ? L"both names" : std::wstring(found.cFileName) + L", " + found.cAlternateFileName;
}

std::wstring MoveOverShortName(const Folder& folder) {
    constexpr auto kName = L"a name to be replaced.tmp";
    const std::wstring path = NewFileWithShortName(folder, kName);
    const std::uint64_t size = FileSystem::FileSize(folder / kName);
    const std::wstring source = folder.NewFile(L"replaces", 1);
    if (!MoveFileExW(source.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) return Outcome(false);
    const auto left = FileSystem::VersionOf(folder / kName);
    return left && left->size == size ? L"leaves the other file" : L"replaces the other file";
}

std::wstring FreeSpace(const Folder& folder) {
    ULARGE_INTEGER available{};
    if (!GetDiskFreeSpaceExW(folder.path.c_str(), &available, nullptr, nullptr)) return Outcome(false);
    return L"done, " + std::to_wstring(available.QuadPart / kMegabyte) + L" MB";
}

std::wstring CountsWritten(const Folder& folder) {
    const std::uint64_t before = base::TransferredBytes();
    folder.NewFile(L"counted", kMegabyte);
    const std::uint64_t counted = base::TransferredBytes() - before;
    return (counted >= kMegabyte ? L"yes, " : L"no, ") + std::to_wstring(counted) + L" bytes of " +
           std::to_wstring(kMegabyte);
}

std::wstring Delete(const Folder& folder) try {
    FileSystem::DeleteTree(folder.path);
    return L"done";
} catch (const base::SystemError& error) {
    return ErrorAnswer(error.Code()) + L", " + error.Subject();
}

}  // namespace

std::vector<Question> FileQuestions(const std::wstring& path) {
    const Folder folder{path};
    return {
        {L"The size of a copy while CopyFile makes it", L"the whole size",
         [=] { return SizeWhileCopying(folder); }},
        {L"The time of a file that CopyFile copies", L"kept", [=] { return CopiedTime(folder); }},
        {L"The resolution of file times", L"exact", [=] { return TimeResolution(folder); }},
        {L"Flushing a copy", L"done", [=] { return FlushCopy(folder); }},
        {L"Moving over a file, write-through", L"done",
         [=] { return MoveOver(folder, L"existing", FILE_ATTRIBUTE_NORMAL); }},
        {L"Moving over a read-only file", L"error 5",
         [=] { return MoveOver(folder, L"protected", FILE_ATTRIBUTE_READONLY); }},
        {L"ReplaceFile", L"done", [=] { return ReplaceExisting(folder); }},
        {L"Deleting a file that is open elsewhere",
         L"gone at once or pending, a new file of that name: error 5", [=] { return DeleteHeld(folder); }},
        {L"The unfinished file of a process that dies", L"gone", [=] { return LeftByDeadProcess(folder); }},
        {L"Renaming an open file", L"done", [=] { return RenameOpen(folder); }},
        {L"The number of a file", L"numbered", [=] { return Identity(folder); }},
        {L"Names that differ in case", L"one file", [=] { return OtherCase(folder); }},
        {L"A path of more than 500 characters", L"done", [=] { return LongPath(folder); }},
        {L"The short name of one outside the code page", kAny, [=] { return ShortName(folder); }},
        {L"What a search for a short name finds", L"both names", [=] { return FoundByShortName(folder); }},
        {L"Moving over the short name of another file", kAny, [=] { return MoveOverShortName(folder); }},
        {L"The free space", L"done", [=] { return FreeSpace(folder); }},
        {L"The process's counters count what is written", L"yes", [=] { return CountsWritten(folder); }},
        {L"Deleting the folder with all of that", L"done", [=] { return Delete(folder); }},
    };
}

void DieHolding(const std::wstring& path) {
    const std::optional<base::File> unfinished = base::File::TryCreateTransient(path);
    TerminateProcess(GetCurrentProcess(), unfinished ? 0 : 1);
    std::abort();
}

}  // namespace probe
