// Files and folders by their paths, which may be of any length. Every failure is a SystemError, or for a copy
// that is not whole an Error, that names the path.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/Handle.h"

// Win32 names its functions by macros, which would rename those of this unit.
#undef CopyFile
#undef MoveFile
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
    std::uint64_t size = 0;  ///< bytes
    DWORD attributes = 0;    ///< as in WIN32_FIND_DATA
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

bool FileExists(const std::wstring& path) noexcept;
bool FolderExists(const std::wstring& path) noexcept;
/// Whether a path is that of a link or junction, which stands for something elsewhere.
bool IsLink(const std::wstring& path);
std::uint64_t FileSize(const std::wstring& path, Where where = Where::current());
/// Nothing when there is no such file.
std::optional<FileVersion> VersionOf(const std::wstring& path);
Listing List(const std::wstring& folder, Where where = Where::current());
/// Adds to a listing, which after a failure holds what was enumerated until then.
void List(const std::wstring& folder, Listing& listing, Where where = Where::current());

void CreateFolder(const std::wstring& path, Where where = Where::current());
/// Creates a folder with those above it, as far as they are missing.
void CreateFolders(const std::wstring& path, Where where = Where::current());
/// Deletes a folder with all that is in it; what a link leads to is not.
void DeleteTree(const std::wstring& folder, Where where = Where::current());

enum class ReadOnlyFiles { Keep, Delete };

/// Keeps others from writing to a file while it exists; reading, renaming and deleting stay possible.
/// A file that is copied and then deleted needs it: what somebody writes in between would be lost.
class WriteBlock {
public:
    explicit WriteBlock(const std::wstring& path);
    /// False when somebody was writing to the file already, or it cannot be read.
    bool Holds() const noexcept { return static_cast<bool>(m_file); }
    /// Whether it does not hold because of a writer who lets others read what is written so far.
    bool SomebodyWrites() const;
    /// Throws when it does not hold.
    void Check(Where where = Where::current()) const;
    /// False when another file has the name of the one that is held by now. Throws when none has.
    bool HasItsName(Where where = Where::current()) const;
    /// Deletes the file that is held. False when another one has its name by now, which stays.
    bool Delete(ReadOnlyFiles readOnly = ReadOnlyFiles::Keep, Where where = Where::current()) const;

private:
    base::FileHandle OpenNamed(DWORD access, Where where) const;

    std::wstring m_path;
    base::FileHandle m_file;
    DWORD m_error;  ///< why there is no handle
};

/// Moves a file, also to another volume. Fails when the destination exists; then, and after any other
/// failure, the source is as it was and no part of it is at the destination.
void MoveFile(const std::wstring& source, const std::wstring& destination, Where where = Where::current());

/// Copies or moves a file, also to another volume, in the place of any other, even a read-only one, which
/// stays as it was until the new one is on the disk in full. A move that fails leaves the source. goOn: asked
/// now and then in the middle of a long file; after False the copy fails with ERROR_CANCELLED.
void CopyReplacing(const std::wstring& source, const std::wstring& destination,
                   const std::function<bool()>& goOn = {}, Where where = Where::current());
void MoveReplacing(const std::wstring& source, const std::wstring& destination,
                   Where where = Where::current());

/// Where a file arrives before it takes its place: a path beside that.
std::wstring ArrivalPath(const std::wstring& destination);
/// Whether a name is that of a file which is still arriving in its folder.
bool IsArrival(std::wstring_view name) noexcept;
/// Whether whoever copied such a file has ended, and could not remove it. Its source is where it was.
bool IsAbandonedArrival(const std::wstring& path);

void DeleteFile(const std::wstring& path, ReadOnlyFiles readOnly = ReadOnlyFiles::Keep,
                Where where = Where::current());
/// Deletes a file, also a read-only one, that is only in the way; a failure shows in what is still there.
void TryDelete(const std::wstring& path) noexcept;

}  // namespace FileSystem
