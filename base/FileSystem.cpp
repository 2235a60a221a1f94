// See FileSystem.h.
#include "base/FileSystem.h"

#include <algorithm>
#include <array>

#include "base/File.h"
#include "base/Path.h"
#include "base/Persistence.h"
#include "base/RollBack.h"
#include "base/SystemError.h"

namespace FileSystem {

namespace {

using base::SystemError;

/// Windows takes longer paths only in their extended form, which it does not normalise itself.
/// 248 is the limit for folders, the lowest of the limits.
constexpr size_t kLongestPlainPath = 247;

DWORD Attributes(const std::wstring& path) noexcept try {
    return GetFileAttributesW(Extended(path).c_str());
} catch (const std::bad_alloc&) {
    return INVALID_FILE_ATTRIBUTES;
}

bool IsSelfOrParent(const wchar_t* name) {
    const std::wstring_view text(name);
    return text == L"." || text == L"..";
}

bool HasDrive(std::wstring_view path) { return path.size() > 1 && path[1] == L':'; }
bool IsRooted(std::wstring_view path) { return path.starts_with(L'\\') || path.starts_with(L'/'); }
bool IsShare(std::wstring_view path) { return IsRooted(path) && IsRooted(path.substr(1)); }

std::wstring Absolute(const std::wstring& base, const std::wstring& path) {
    if (HasDrive(path) || IsShare(path)) return path;
    if (IsRooted(path) && HasDrive(base)) return base.substr(0, 2) + path;
    return Path::Join(base, path);
}

std::uint64_t Wide(DWORD high, DWORD low) { return (std::uint64_t{high} << 32) | low; }

void Append(Listing& listing, const WIN32_FIND_DATAW& found) {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        listing.files.push_back(
            {found.cFileName, Wide(found.nFileSizeHigh, found.nFileSizeLow), found.dwFileAttributes});
    else if (!IsSelfOrParent(found.cFileName))
        listing.folders.emplace_back(found.cFileName);
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// No handle when the file cannot be opened; GetLastError tells why.
base::FileHandle TryOpenToRead(const std::wstring& path, DWORD sharing) {
    return base::FileHandle(CreateFileW(Extended(path).c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// information: what one of the system's functions tells of a file.
FileVersion VersionIn(const auto& information) {
    const FILETIME& lastWrite = information.ftLastWriteTime;
    return {Wide(information.nFileSizeHigh, information.nFileSizeLow),
            Wide(lastWrite.dwHighDateTime, lastWrite.dwLowDateTime)};
}

/// A file system that tells nothing of its files has only their names; one that does not number them has
/// their sizes and times.
bool IsSameFile(HANDLE left, HANDLE right) {
    BY_HANDLE_FILE_INFORMATION a;
    BY_HANDLE_FILE_INFORMATION b;
    if (!GetFileInformationByHandle(left, &a) || !GetFileInformationByHandle(right, &b)) return true;
    if (a.nFileIndexHigh == 0 && a.nFileIndexLow == 0 && VersionIn(a) != VersionIn(b)) return false;
    return a.dwVolumeSerialNumber == b.dwVolumeSerialNumber && a.nFileIndexHigh == b.nFileIndexHigh &&
           a.nFileIndexLow == b.nFileIndexLow;
}

/// Windows neither deletes nor replaces a read-only file, and copies over no hidden one: where that fails,
/// these attributes are lifted for a second try, and come back when that fails, too. Returns the action's
/// error.
template <class Action>
DWORD WithoutProtection(const std::wstring& file, Action action) {
    constexpr DWORD kProtection = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
    DWORD error = action();
    if (error != ERROR_ACCESS_DENIED) return error;
    const DWORD attributes = GetFileAttributesW(file.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & kProtection)) return error;
    SetFileAttributesW(file.c_str(), attributes & ~kProtection);
    error = action();
    if (error != ERROR_SUCCESS) SetFileAttributesW(file.c_str(), attributes);
    return error;
}

DWORD DeleteEvenReadOnly(const std::wstring& path) {
    const std::wstring file = Extended(path);
    return WithoutProtection(
        file, [&] { return base::Persistently(file, [&] { return DeleteFileW(file.c_str()); }); });
}

DWORD Replace(const std::wstring& source, const std::wstring& destination) {
    const std::wstring target = Extended(destination);
    return WithoutProtection(target, [&] {
        return base::Persistently(target, [&] {
            return MoveFileExW(Extended(source).c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING);
        });
    });
}

/// Fails where there is a file of the name.
DWORD Rename(const std::wstring& source, const std::wstring& destination) {
    const std::wstring file = Extended(source);
    const std::wstring target = Extended(destination);
    return base::Persistently(FileExists(destination) ? target : file,
                              [&] { return MoveFileExW(file.c_str(), target.c_str(), 0); });
}

DWORD TryCreateFolder(const std::wstring& path) {
    const std::wstring folder = Extended(path);
    return base::Persistently(folder, [&] { return CreateDirectoryW(folder.c_str(), nullptr); });
}

std::wstring Way(const std::wstring& source, const std::wstring& destination) {
    return source + L" -> " + destination;
}

/// A read error in the middle of a copy is not reported by every redirector.
/// size: the source's in bytes, as far as is known; it may be of a moment ago.
void CheckWhole(std::uint64_t copied, std::uint64_t size, const std::wstring& source,
                const std::wstring& destination, Where where) {
    if (copied != size) size = FileSize(source, where);
    if (copied == size) return;
    throw base::Error(HRESULT_FROM_WIN32(ERROR_READ_FAULT),
                      L"The copy is incomplete: " + std::to_wstring(copied) + L" of " +
                          std::to_wstring(size) + L" bytes (" + Way(source, destination) + L")",
                      where);
}

constexpr std::wstring_view kArrivalStart = L"~";
constexpr std::wstring_view kArrivalEnd = L".arriving";

/// Asks ten times a second at most: what is asked may be slow.
class Question {
public:
    explicit Question(const std::function<bool()>& ask) : m_ask(ask) {}

    bool IsAffirmed() {
        constexpr ULONGLONG kPause = 100;
        if (!m_ask || GetTickCount64() - m_last < kPause) return true;
        const bool affirmed = m_ask();
        m_last = GetTickCount64();
        return affirmed;
    }

private:
    const std::function<bool()>& m_ask;
    ULONGLONG m_last = 0;
};

/// Returns the number of bytes copied.
std::uint64_t CopyContent(const base::File& from, base::File& to, const std::function<bool()>& goOn) {
    constexpr std::uint64_t kBuffer = 1 << 20;
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(std::min(from.Size() + 1, kBuffer)));
    Question mayGoOn(goOn);
    std::uint64_t copied = 0;
    for (;;) {
        const std::size_t got = from.Read(buffer);
        to.Write({buffer.data(), got});
        copied += got;
        if (got < buffer.size()) return copied;
        if (!mayGoOn.IsAffirmed()) throw SystemError(ERROR_CANCELLED, "copy", from.Path());
    }
}

/// Copies a file to one of its own name beside the destination, which nobody else can open, and which goes
/// with its handle until it takes the destination's name.
base::File Arrive(const std::wstring& source, const std::wstring& destination,
                  const std::function<bool()>& goOn, Where where) try {
    const base::File from = base::File::Open(source, GENERIC_READ, kShareAll, OPEN_EXISTING, where);
    const std::wstring arrival = ArrivalPath(destination);
    std::optional<base::File> to = base::File::TryCreateTransient(arrival, where);
    if (!to) throw SystemError(ERROR_FILE_EXISTS, "create", arrival, where);
    CheckWhole(CopyContent(from, *to, goOn), from.Size(), source, destination, where);
    to->TakeTimeAndAttributes(from);
    to->Flush();
    return *std::move(to);
} catch (const SystemError& error) {
    throw SystemError(error.Code(), "copy", Way(source, destination), where);
}

/// For a destination on another volume.
void CopyAndDelete(const std::wstring& source, const std::wstring& destination, Where where) {
    if (FileExists(destination))
        throw SystemError(ERROR_FILE_EXISTS, "copy", Way(source, destination), where);
    const WriteBlock block(source);
    block.Check(where);
    base::File copy = Arrive(source, destination, {}, where);
    if (const DWORD error = copy.TakeName(destination, base::File::OtherFile::Stays); error != ERROR_SUCCESS)
        throw SystemError(error, "move", Way(source, destination), where);
    copy.Close();
    base::RollBack removal([&] { TryDelete(destination); });
    block.Delete(ReadOnlyFiles::Delete, where);
    removal.Dismiss();
}

void RemoveFolder(const std::wstring& folder, Where where) {
    if (!RemoveDirectoryW(Extended(folder).c_str()))
        throw SystemError(GetLastError(), "delete", folder, where);
}

}  // namespace

std::wstring FullPath(const std::wstring& path) {
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full;
}

std::wstring FullPath(const std::wstring& base, const std::wstring& path) {
    std::wstring full = FullPath(Absolute(base, path));
    constexpr size_t kRoot = 3;
    while (full.size() > kRoot && full.back() == L'\\')
        full.pop_back();
    return full;
}

std::wstring Extended(const std::wstring& path) {
    if (path.size() <= kLongestPlainPath || path.starts_with(L"\\\\?\\")) return path;
    const std::wstring full = FullPath(path);
    if (full.starts_with(L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
    return L"\\\\?\\" + full;
}

bool FileExists(const std::wstring& path) noexcept {
    return (Attributes(path) & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool FolderExists(const std::wstring& path) noexcept {
    const DWORD attributes = Attributes(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// Files and folders that a service keeps elsewhere until they are opened are reparse points, too.
bool IsLink(const std::wstring& path) {
    const DWORD attributes = Attributes(path);
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) return false;
    WIN32_FIND_DATAW found;
    const base::SearchHandle search(FindFirstFileW(Extended(path).c_str(), &found));
    return search && IsReparseTagNameSurrogate(found.dwReserved0);
}

std::uint64_t FileSize(const std::wstring& path, Where where) {
    const std::optional<FileVersion> version = VersionOf(path);
    if (!version) throw SystemError(GetLastError(), "examine", path, where);
    return version->size;
}

std::optional<FileVersion> VersionOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(Extended(path).c_str(), GetFileExInfoStandard, &data)) return std::nullopt;
    return VersionIn(data);
}

void List(const std::wstring& folder, Listing& listing, Where where) {
    WIN32_FIND_DATAW found;
    const base::SearchHandle search(FindFirstFileExW(Extended(Path::Join(folder, L"*")).c_str(),
                                                     FindExInfoBasic, &found, FindExSearchNameMatch, nullptr,
                                                     FIND_FIRST_EX_LARGE_FETCH));
    if (!search) {
        const DWORD error = GetLastError();
        // The root of an empty volume has not even "." and "..".
        if (error == ERROR_FILE_NOT_FOUND && FolderExists(folder)) return;
        throw SystemError(error, "list", folder, where);
    }
    do {
        Append(listing, found);
    } while (FindNextFileW(search.Get(), &found));
    if (GetLastError() != ERROR_NO_MORE_FILES) throw SystemError(GetLastError(), "list", folder, where);
}

Listing List(const std::wstring& folder, Where where) {
    Listing listing;
    List(folder, listing, where);
    return listing;
}

void CreateFolder(const std::wstring& path, Where where) {
    if (const DWORD error = TryCreateFolder(path); error != ERROR_SUCCESS)
        throw SystemError(error, "create", path, where);
}

void CreateFolders(const std::wstring& path, Where where) {
    if (path.empty() || FolderExists(path)) return;
    // A drive is its own parent.
    if (const std::wstring parent = Path::ParentFolder(path); parent != path) CreateFolders(parent, where);
    const DWORD error = TryCreateFolder(path);
    if (error != ERROR_SUCCESS && !FolderExists(path)) throw SystemError(error, "create", path, where);
}

void DeleteTree(const std::wstring& folder, Where where) {
    const Listing listing = List(folder, where);
    for (const FileEntry& file : listing.files)
        DeleteFile(Path::Join(folder, file.name), ReadOnlyFiles::Keep, where);
    for (const std::wstring& name : listing.folders) {
        const std::wstring path = Path::Join(folder, name);
        IsLink(path) ? RemoveFolder(path, where) : DeleteTree(path, where);
    }
    RemoveFolder(folder, where);
}

void MoveFile(const std::wstring& source, const std::wstring& destination, Where where) {
    const DWORD error = Rename(source, destination);
    if (error == ERROR_SUCCESS) return;
    if (error != ERROR_NOT_SAME_DEVICE) throw SystemError(error, "move", Way(source, destination), where);
    CopyAndDelete(source, destination, where);
}

void CopyReplacing(const std::wstring& source, const std::wstring& destination,
                   const std::function<bool()>& goOn, Where where) {
    base::File arrival = Arrive(source, destination, goOn, where);
    const DWORD error = WithoutProtection(Extended(destination), [&] {
        return arrival.TakeName(destination, base::File::OtherFile::IsReplaced);
    });
    if (error != ERROR_SUCCESS) throw SystemError(error, "replace", Way(source, destination), where);
}

void MoveReplacing(const std::wstring& source, const std::wstring& destination, Where where) {
    const DWORD error = Replace(source, destination);
    if (error == ERROR_SUCCESS) return;
    if (error != ERROR_NOT_SAME_DEVICE) throw SystemError(error, "move", Way(source, destination), where);
    const WriteBlock block(source);
    block.Check(where);
    CopyReplacing(source, destination, {}, where);
    block.Delete(ReadOnlyFiles::Delete, where);
}

/// No two threads of a computer share a name at a time; where two computers do, one of them is told that it
/// exists. It is short enough for every folder and, as the transporter reads names, that of no packet.
std::wstring ArrivalPath(const std::wstring& destination) {
    const std::wstring folder =
        destination.substr(0, destination.size() - Path::FileName(destination).size());
    return std::wstring(folder)
        .append(kArrivalStart)
        .append(std::to_wstring(GetCurrentThreadId()))
        .append(L"-")
        .append(std::to_wstring(GetTickCount64()))
        .append(kArrivalEnd);
}

bool IsArrival(std::wstring_view name) noexcept {
    if (!name.starts_with(kArrivalStart) || !name.ends_with(kArrivalEnd)) return false;
    name.remove_prefix(kArrivalStart.size());
    name.remove_suffix(kArrivalEnd.size());
    const size_t dash = name.find(L'-');
    const auto isNumber = [](std::wstring_view text) {
        return !text.empty() && text.find_first_not_of(L"0123456789") == std::wstring_view::npos;
    };
    return dash != std::wstring_view::npos && isNumber(name.substr(0, dash)) &&
           isNumber(name.substr(dash + 1));
}

/// One that is being copied cannot be opened.
bool IsAbandonedArrival(const std::wstring& path) {
    return static_cast<bool>(TryOpenToRead(path, kShareAll));
}

void DeleteFile(const std::wstring& path, ReadOnlyFiles readOnly, Where where) {
    const std::wstring file = Extended(path);
    const DWORD error = readOnly == ReadOnlyFiles::Delete
                            ? DeleteEvenReadOnly(path)
                            : base::Persistently(file, [&] { return DeleteFileW(file.c_str()); });
    if (error != ERROR_SUCCESS) throw SystemError(error, "delete", path, where);
}

void TryDelete(const std::wstring& path) noexcept try {
    DeleteEvenReadOnly(path);
} catch (const std::bad_alloc&) {
    return;
}

WriteBlock::WriteBlock(const std::wstring& path)
    : m_path(path),
      m_file(TryOpenToRead(path, FILE_SHARE_READ | FILE_SHARE_DELETE)),
      m_error(m_file ? ERROR_SUCCESS : GetLastError()) {}

bool WriteBlock::SomebodyWrites() const {
    return m_error == ERROR_SHARING_VIOLATION && TryOpenToRead(m_path, kShareAll);
}

void WriteBlock::Check(Where where) const {
    if (!m_file) throw SystemError(m_error, "open", m_path, where);
}

base::FileHandle WriteBlock::OpenNamed(DWORD access, Where where) const {
    Check(where);
    const std::wstring file = Extended(m_path);
    base::FileHandle named;
    const DWORD error = base::Persistently(file, [&] {
        named = base::FileHandle(CreateFileW(file.c_str(), access, kShareAll, nullptr, OPEN_EXISTING,
                                             FILE_ATTRIBUTE_NORMAL, nullptr));
        return static_cast<bool>(named);
    });
    if (!named) throw SystemError(error, access == DELETE ? "delete" : "examine", m_path, where);
    return named;
}

bool WriteBlock::HasItsName(Where where) const {
    return IsSameFile(m_file.Get(), OpenNamed(FILE_READ_ATTRIBUTES, where).Get());
}

bool WriteBlock::Delete(ReadOnlyFiles readOnly, Where where) const {
    // Deleting and renaming are possible meanwhile: only an open file is certainly the one that was held.
    const base::FileHandle named = OpenNamed(DELETE, where);
    if (!IsSameFile(m_file.Get(), named.Get())) return false;
    FILE_DISPOSITION_INFO disposition{TRUE};
    if (!SetFileInformationByHandle(named.Get(), FileDispositionInfo, &disposition, sizeof disposition))
        DeleteFile(m_path, readOnly, where);
    return true;
}

}  // namespace FileSystem
