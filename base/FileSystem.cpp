// See FileSystem.h.
#include "base/FileSystem.h"

#include <windows.h>
#include <wnnc.h>

#include <array>

#include "base/File.h"
#include "base/Handle.h"
#include "base/Path.h"
#include "base/Persistence.h"
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

/// Nothing where there is neither file nor folder of the name. Throws where the system does not tell.
std::optional<DWORD> KnownAttributes(const std::wstring& path, Where where) {
    const std::wstring file = Extended(path);
    DWORD attributes = 0;
    const DWORD error = base::Persistently(file, [&] {
        attributes = GetFileAttributesW(file.c_str());
        return attributes != INVALID_FILE_ATTRIBUTES;
    });
    if (error == ERROR_SUCCESS) return attributes;
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return std::nullopt;
    throw SystemError(error, "examine", path, where);
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
    if (IsRooted(path)) return Path::Drive(base) + path;
    return Path::Join(base, path);
}

std::uint64_t Wide(DWORD high, DWORD low) { return (std::uint64_t{high} << 32) | low; }

/// information: what one of the system's functions tells of a file.
FileVersion VersionIn(const auto& information) {
    const FILETIME& lastWrite = information.ftLastWriteTime;
    return {Wide(information.nFileSizeHigh, information.nFileSizeLow),
            Wide(lastWrite.dwHighDateTime, lastWrite.dwLowDateTime)};
}

void Append(Listing& listing, const WIN32_FIND_DATAW& found) {
    const FileVersion version = VersionIn(found);
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        listing.files.push_back({found.cFileName, version.size, found.dwFileAttributes, version.lastWrite});
    else if (!IsSelfOrParent(found.cFileName))
        listing.folders.emplace_back(found.cFileName);
}

DWORD DeleteEvenReadOnly(const std::wstring& path) {
    const std::wstring file = Extended(path);
    return base::WithoutProtection(
        file, [&] { return base::Persistently(file, [&] { return DeleteFileW(file.c_str()); }); });
}

DWORD TryCreateFolder(const std::wstring& path) {
    const std::wstring folder = Extended(path);
    return base::Persistently(folder, [&] { return CreateDirectoryW(folder.c_str(), nullptr); });
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

bool IsReachedByWebDavClient(std::wstring folder) noexcept try {
    for (std::wstring parent; !FolderExists(folder); folder = parent) {
        parent = Path::ParentFolder(folder);
        if (parent == folder) return false;
    }
    const base::FileHandle handle(CreateFileW(Extended(folder).c_str(), 0, base::kShareAll, nullptr,
                                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    FILE_REMOTE_PROTOCOL_INFO protocol{};
    return handle &&
           GetFileInformationByHandleEx(handle.Get(), FileRemoteProtocolInfo, &protocol, sizeof protocol) &&
           protocol.Protocol == WNNC_NET_DAV;
} catch (const std::bad_alloc&) {
    return false;
}

bool FileIsThere(const std::wstring& path, Where where) {
    const std::optional<DWORD> attributes = KnownAttributes(path, where);
    return attributes && (*attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool FolderIsThere(const std::wstring& path, Where where) {
    const std::optional<DWORD> attributes = KnownAttributes(path, where);
    return attributes && (*attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// Files in the cloud and the like are reparse points, too, but stand for themselves: the tag tells. Wine and
/// some servers tell of links alone, and no tag.
bool IsLink(const std::wstring& path) {
    const DWORD attributes = Attributes(path);
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) return false;
    WIN32_FIND_DATAW found;
    const base::SearchHandle search(FindFirstFileW(Extended(path).c_str(), &found));
    return search && (found.dwReserved0 == 0 || IsReparseTagNameSurrogate(found.dwReserved0));
}

std::uint64_t FileSize(const std::wstring& path, Where where) {
    const std::optional<FileVersion> version = VersionOf(path);
    if (!version) throw SystemError(GetLastError(), "examine", path, where);
    return version->size;
}

std::optional<std::uint64_t> FreeSpace(const std::wstring& folder) {
    ULARGE_INTEGER free;
    ULARGE_INTEGER total;
    const std::wstring path = Extended(Path::WithSeparator(folder));
    if (!GetDiskFreeSpaceExW(path.c_str(), &free, &total, nullptr)) return std::nullopt;
    // Some that lie elsewhere know no sizes, and tell zeros.
    return total.QuadPart == 0 ? std::nullopt : std::optional(free.QuadPart);
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
    if (IsLink(folder)) return RemoveFolder(folder, where);
    const Listing listing = List(folder, where);
    for (const FileEntry& file : listing.files)
        DeleteFile(Path::Join(folder, file.name), ReadOnlyFiles::Keep, where);
    for (const std::wstring& name : listing.folders)
        DeleteTree(Path::Join(folder, name), where);
    RemoveFolder(folder, where);
}

void MakeWritable(const std::wstring& path, Where where) {
    const DWORD attributes = Attributes(path);
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_READONLY)) return;
    if (!SetFileAttributesW(Extended(path).c_str(), attributes & ~FILE_ATTRIBUTE_READONLY))
        throw SystemError(GetLastError(), "set the attributes of", path, where);
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

}  // namespace FileSystem
