// Files and folders by their paths, which may be of any length. Every failure is a SystemError that names the
// path.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.h"

// Win32 names its functions by macros, which would rename those of this unit.
#undef DeleteFile

namespace FileSystem {

using base::Where;

/// The absolute, normalised form of a path.
std::wstring FullPath(const std::wstring& path);
/// The same for a path that is relative to another folder than the current one, without separators at its
/// end.
std::wstring FullPath(const std::wstring& base, const std::wstring& path);
/// The form in which Win32 functions take a path of any length.
std::wstring Extended(const std::wstring& path);

struct FileEntry {
    std::wstring name;
    std::uint64_t size = 0;       ///< bytes
    DWORD attributes = 0;         ///< as in WIN32_FIND_DATA
    std::uint64_t lastWrite = 0;  ///< as in FILETIME
};

/// What lies directly in a folder, in the order in which the file system enumerates it.
struct Listing {
    std::vector<FileEntry> files;
    std::vector<std::wstring> folders;
};

/// Tells one saved state of a file from the next.
struct FileVersion {
    std::uint64_t size = 0;       ///< bytes
    std::uint64_t lastWrite = 0;  ///< units of 100 ns, as in FILETIME
    bool operator==(const FileVersion&) const = default;
};

/// False also where the system does not tell.
bool FileExists(const std::wstring& path) noexcept;
bool FolderExists(const std::wstring& path) noexcept;
/// These throw where the system does not tell: a folder that cannot be seen now would be taken for an empty
/// one, and the file of before for the one that was to be made.
bool FileIsThere(const std::wstring& path, Where where = Where::current());
bool FolderIsThere(const std::wstring& path, Where where = Where::current());
/// Whether the system's WebDAV client leads to a folder, or to that which it is to be made in. It sends a
/// file when that is closed, and tells nobody whether the server took it.
bool IsReachedByWebDavClient(std::wstring folder) noexcept;
/// Whether a path is that of a link or junction, which stands for something elsewhere.
bool IsLink(const std::wstring& path);
std::uint64_t FileSize(const std::wstring& path, Where where = Where::current());
/// Bytes that this user may still write in a folder; nothing where the system does not tell.
std::optional<std::uint64_t> FreeSpace(const std::wstring& folder);
/// Nothing when there is no such file.
std::optional<FileVersion> VersionOf(const std::wstring& path);
Listing List(const std::wstring& folder, Where where = Where::current());
/// Adds to a listing, which after a failure holds what was enumerated until then.
void List(const std::wstring& folder, Listing& listing, Where where = Where::current());

void CreateFolder(const std::wstring& path, Where where = Where::current());
/// Creates a folder with those above it, as far as they are missing.
void CreateFolders(const std::wstring& path, Where where = Where::current());
/// Deletes a folder with all that is in it. Of a link, also in the place of the folder, only the link goes.
void DeleteTree(const std::wstring& folder, Where where = Where::current());

enum class ReadOnlyFiles { Keep, Delete };

/// Lifts a file's read-only attribute where there is a file that has it.
void MakeWritable(const std::wstring& path, Where where = Where::current());

void DeleteFile(const std::wstring& path, ReadOnlyFiles readOnly = ReadOnlyFiles::Keep,
                Where where = Where::current());
/// Deletes a file, also a read-only one, that is only in the way; a failure shows in what is still there.
void TryDelete(const std::wstring& path) noexcept;

}  // namespace FileSystem
