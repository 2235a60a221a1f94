// Open files, written or read from end to end or anywhere. Paths are of any length; every failure is a
// SystemError that names the path.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/ByteStream.h"
#include "base/Error.h"
#include "base/FileTime.h"
#include "base/Handle.h"

namespace base {

/// Others may do everything to a file that is open.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// For one thread at a time.
class File {
public:
    /// As CreateFile. sharing: what others may do to the file meanwhile.
    static File Open(std::wstring path, DWORD access, DWORD sharing, DWORD disposition,
                     Where where = Where::current());
    /// Nothing, and GetLastError tells why, when it cannot be opened.
    static std::optional<File> TryOpen(std::wstring path, DWORD access, DWORD sharing,
                                       DWORD disposition = OPEN_EXISTING);
    /// The same for a file that a scanner or a backup program, too, may hold for a moment: waits for that.
    static std::optional<File> TryOpenPersistently(const std::wstring& path, DWORD access, DWORD sharing,
                                                   DWORD disposition = OPEN_EXISTING);
    static File OpenPersistently(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition,
                                 Where where = Where::current());
    /// With the right to delete it; where the path names a link, that link. It is waited for likewise.
    static std::optional<File> TryOpenToRemove(const std::wstring& path);
    /// To read; nobody can write to the file until it is closed, and nobody does so now: what is written
    /// while a file is read may be in one part of what is made of it and not in another.
    static File OpenUnchanging(std::wstring path, Where where = Where::current());
    /// Fails when the file exists.
    static File CreateNew(std::wstring path, Where where = Where::current());
    /// Nothing, and GetLastError tells why, when there is something of that name. Nobody else can open the
    /// file until it is closed, and the system removes it when the process ends before Keep, however it ends
    /// (where the file system can do so).
    static std::optional<File> TryCreateTransient(std::wstring path, Where where = Where::current());

    const std::wstring& Path() const noexcept { return m_path; }
    HANDLE Handle() const noexcept { return m_handle.Get(); }

    std::uint64_t Size() const;  ///< bytes
    FileTime ModificationTime() const;
    void SetModificationTime(FileTime time);
    /// The modification time of another file, and its attributes.
    void TakeTimeAndAttributes(const File& other);

    /// From the current position on; fewer bytes than asked for only at the end.
    std::size_t Read(std::span<std::uint8_t> buffer) const;
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const;
    void Write(Bytes bytes);
    void Write(std::string_view text);
    void WriteAt(std::uint64_t offset, Bytes bytes);
    void Truncate(std::uint64_t size);
    /// Brings everything to the disk.
    void Flush();
    /// What becomes of another file whose name is taken. Where that is its short one, it is thrown.
    enum class OtherFile { Stays, IsReplaced };
    /// Gives a transient file its final name, with which it outlives the process. Returns why not; then it is
    /// transient still.
    DWORD TakeName(const std::wstring& path, OtherFile other);
    /// Renames a file that is opened with the right to delete it. Returns why not; then it has its name.
    DWORD Rename(const std::wstring& path, OtherFile other);
    /// Whether somebody, such as this process, has had it removed: it goes with its last handle.
    bool IsBeingRemoved() const;
    /// Removes the file when it is closed. False, and GetLastError tells why, when the system refuses that.
    bool RemoveWhenClosed();
    /// Closes the file and removes it, also where it is read-only. What cannot be removed stays.
    void Discard() noexcept;
    void Close() noexcept { m_handle.Reset(); }

private:
    File(std::wstring path, FileHandle handle) : m_path(std::move(path)), m_handle(std::move(handle)) {}
    void Seek(std::uint64_t offset) const;

    std::wstring m_path;
    FileHandle m_handle;
    bool m_isRemovedWhenClosed = false;
};

/// A file as a source of bytes, to which nobody can write meanwhile.
class InputFile final : public ByteSource {
public:
    explicit InputFile(std::wstring path) : m_file(File::OpenUnchanging(std::move(path))) {}

    std::uint64_t Size() const override { return m_file.Size(); }
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const override {
        return m_file.ReadAt(offset, buffer);
    }
    FileTime ModificationTime() const { return m_file.ModificationTime(); }

private:
    File m_file;
};

/// The whole content of a file; others may write to it meanwhile.
std::string ReadFile(const std::wstring& path, Where where = Where::current());
/// The same while nobody writes to it. Who does so for a moment is waited for.
std::string ReadUnchanging(const std::wstring& path, Where where = Where::current());
/// Fails when the file exists.
void WriteNewFile(const std::wstring& path, std::string_view content, Where where = Where::current());
/// Appends to a file, which is created when it is missing; several processes may do so at once.
void AppendToFile(const std::wstring& path, std::string_view text, Where where = Where::current());

}  // namespace base
