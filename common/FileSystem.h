// The one place that touches files and folders. Paths of any length; every failure is a com::Error
// that names the path.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Win32 names its functions by macros, which would rename those of this unit.
#undef CopyFile
#undef MoveFile
#undef DeleteFile

namespace FileSystem {

/// The absolute, normalised form of a path.
std::wstring FullPath(const std::wstring& path);
/// The form in which Win32 functions take a path of any length.
std::wstring Extended(const std::wstring& path);

struct HandleCloser {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using Handle = std::unique_ptr<HANDLE, HandleCloser>;

/// As CreateFile. sharing: what others may do to the file meanwhile.
Handle Open(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition);

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
std::uint64_t FileSize(const std::wstring& path);
/// Nothing when there is no such file.
std::optional<FileVersion> VersionOf(const std::wstring& path);
Listing List(const std::wstring& folder);
/// Adds to a listing, which after a failure holds what was enumerated until then.
void List(const std::wstring& folder, Listing& listing);

void CreateFolder(const std::wstring& path);

/// Copies a file over an existing one and verifies that the copy has the size of the source.
/// size: the source's size in bytes where the caller knows it. A failed copy leaves no part of it.
void CopyFile(const std::wstring& source, const std::wstring& destination,
              std::optional<std::uint64_t> size = {});

/// Keeps others from writing to a file while it exists; reading, renaming and deleting stay possible.
/// A file that is copied and then deleted needs it: what somebody writes in between would be lost.
class WriteBlock {
public:
    explicit WriteBlock(const std::wstring& path);
    /// False when somebody was writing to the file already, or it cannot be read.
    bool Holds() const noexcept { return m_file != nullptr; }
    /// Whether it does not hold because of a writer who lets others read what is written so far.
    bool SomebodyWrites() const;
    /// Throws when it does not hold.
    void Check() const;

private:
    std::wstring m_path;
    Handle m_file;
    DWORD m_error;  ///< why there is no handle
};

/// Moves a file, also to another volume. Fails when the destination exists; then, and after any other
/// failure, the source is as it was and no part of it is at the destination.
void MoveFile(const std::wstring& source, const std::wstring& destination);

/// Copies or moves a file, also to another volume, in the place of any other, even a read-only one, which
/// stays as it was until the new one has arrived completely. A move that fails leaves the source.
void CopyReplacing(const std::wstring& source, const std::wstring& destination);
void MoveReplacing(const std::wstring& source, const std::wstring& destination);

enum class ReadOnlyFiles { Keep, Delete };
void DeleteFile(const std::wstring& path, ReadOnlyFiles readOnly = ReadOnlyFiles::Keep);

/// Writes a whole text. path: names the file in a failure.
void Write(HANDLE file, const std::wstring& path, std::string_view text);

/// Appends to a file, which is created when it is missing; several processes may do so at once.
void Append(const std::wstring& path, std::string_view text);

/// An open 8-bit text file.
class TextFile {
public:
    /// Creates the file, or empties an existing one.
    static TextFile Create(const std::wstring& path);
    static TextFile Open(const std::wstring& path);

    void WriteLine(std::string_view line);
    /// The next line, without its end; lines longer than 1,024 characters are cut there.
    std::string ReadLine();

private:
    TextFile(const std::wstring& path, DWORD access, DWORD disposition);

    std::wstring m_path;
    Handle m_file;
};

}  // namespace FileSystem
