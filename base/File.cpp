// See File.h.
#include "base/File.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "base/FileSystem.h"
#include "base/Persistence.h"
#include "base/RollBack.h"
#include "base/ShortNames.h"
#include "base/SystemError.h"
#include "base/WindowsTime.h"

namespace base {

namespace {

/// Why a file system refuses a time: FAT holds none before 1980, and keeps its own then.
constexpr DWORD kNoSuchTime = ERROR_INVALID_PARAMETER;

/// No handle when it cannot be opened; GetLastError tells why. A file that is to be there, or may be,
/// is not waited for: somebody may write to it.
FileHandle OpenHandle(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition,
                      DWORD flags = FILE_FLAG_SEQUENTIAL_SCAN) {
    const std::wstring file = FileSystem::Extended(path);
    FileHandle handle;
    const auto open = [&] {
        handle = FileHandle(CreateFileW(file.c_str(), access, sharing, nullptr, disposition,
                                        FILE_ATTRIBUTE_NORMAL | flags, nullptr));
        return static_cast<bool>(handle);
    };
    const bool isNew = disposition == CREATE_NEW || disposition == CREATE_ALWAYS;
    if (!isNew)
        open();
    else
        SetLastError(Persistently(file, open));
    return handle;
}

/// The same as open(), once nobody holds the file for a moment.
template <class Open>
FileHandle OpenHandlePersistently(const std::wstring& path, const Open& open) {
    FileHandle handle;
    SetLastError(Persistently(FileSystem::Extended(path), [&] {
        handle = open();
        return static_cast<bool>(handle);
    }));
    return handle;
}

/// The part of a buffer that one call may carry: 32-bit counts, and redirectors that take far less than
/// those.
template <class Byte>
std::span<Byte> OneCall(std::span<Byte> bytes) {
    constexpr std::size_t kLargest = std::size_t{16} << 20;
    return bytes.first(std::min(bytes.size(), kLargest));
}

std::string ContentOf(const File& file) {
    std::string content(static_cast<std::size_t>(file.Size()), '\0');
    content.resize(file.Read({reinterpret_cast<std::uint8_t*>(content.data()), content.size()}));
    return content;
}

/// Not every file system knows this: then only our own end removes the file.
bool SetRemovedWhenClosed(HANDLE file, bool removed) {
    FILE_DISPOSITION_INFO disposition{removed};
    return SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition) != FALSE;
}

}  // namespace

File File::Open(std::wstring path, DWORD access, DWORD sharing, DWORD disposition, Where where) {
    FileHandle handle = OpenHandle(path, access, sharing, disposition);
    if (!handle) {
        const char* const action = disposition == OPEN_EXISTING ? "open" : "create";
        throw SystemError(GetLastError(), action, path, where);
    }
    return {std::move(path), std::move(handle)};
}

std::optional<File> File::TryOpen(std::wstring path, DWORD access, DWORD sharing, DWORD disposition) {
    FileHandle handle = OpenHandle(path, access, sharing, disposition);
    if (!handle) return std::nullopt;
    return File(std::move(path), std::move(handle));
}

std::optional<File> File::TryOpenPersistently(const std::wstring& path, DWORD access, DWORD sharing,
                                              DWORD disposition) {
    FileHandle handle =
        OpenHandlePersistently(path, [&] { return OpenHandle(path, access, sharing, disposition); });
    if (!handle) return std::nullopt;
    return File(path, std::move(handle));
}

File File::OpenPersistently(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition,
                            Where where) {
    auto file = TryOpenPersistently(path, access, sharing, disposition);
    if (!file) throw SystemError(GetLastError(), "open", path, where);
    return *std::move(file);
}

std::optional<File> File::TryOpenToRemove(const std::wstring& path) {
    FileHandle handle = OpenHandlePersistently(path, [&] {
        return OpenHandle(path, DELETE, kShareAll, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT);
    });
    if (!handle) return std::nullopt;
    return File(path, std::move(handle));
}

File File::OpenUnchanging(std::wstring path, Where where) {
    return Open(std::move(path), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING, where);
}

File File::CreateNew(std::wstring path, Where where) {
    return Open(std::move(path), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, CREATE_NEW, where);
}

std::optional<File> File::TryCreateTransient(std::wstring path, Where where) {
    FileHandle handle = OpenHandle(path, GENERIC_READ | GENERIC_WRITE | DELETE, 0, CREATE_NEW);
    const DWORD error = GetLastError();
    if (!handle && error == ERROR_FILE_EXISTS) return std::nullopt;
    if (!handle) throw SystemError(error, "create", path, where);
    File file(std::move(path), std::move(handle));
    file.RemoveWhenClosed();
    return file;
}

std::uint64_t File::Size() const {
    LARGE_INTEGER size;
    if (!GetFileSizeEx(Handle(), &size)) throw SystemError(GetLastError(), "examine", m_path);
    return static_cast<std::uint64_t>(size.QuadPart);
}

FileTime File::ModificationTime() const {
    FILETIME time;
    if (!GetFileTime(Handle(), nullptr, nullptr, &time)) throw SystemError(GetLastError(), "examine", m_path);
    return FromWindowsTime(time);
}

void File::SetModificationTime(FileTime time) {
    const FILETIME modified = ToWindowsTime(time);
    if (!SetFileTime(Handle(), nullptr, nullptr, &modified) && GetLastError() != kNoSuchTime)
        throw SystemError(GetLastError(), "set the time of", m_path);
}

void File::TakeTimeAndAttributes(const File& other) {
    FILE_BASIC_INFO info;
    if (!GetFileInformationByHandleEx(other.Handle(), FileBasicInfo, &info, sizeof info))
        throw SystemError(GetLastError(), "examine", other.m_path);
    // What the file system keeps of itself (encrypted, compressed, on a tape) is the other file's alone.
    constexpr DWORD kOfTheUser = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                 FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    info.FileAttributes = (info.FileAttributes & kOfTheUser) | FILE_ATTRIBUTE_NORMAL;
    // 0 leaves a time as it is.
    info.CreationTime.QuadPart = info.LastAccessTime.QuadPart = info.ChangeTime.QuadPart = 0;
    if (SetFileInformationByHandle(Handle(), FileBasicInfo, &info, sizeof info)) return;
    info.LastWriteTime.QuadPart = 0;
    if (GetLastError() != kNoSuchTime ||
        !SetFileInformationByHandle(Handle(), FileBasicInfo, &info, sizeof info))
        throw SystemError(GetLastError(), "set the attributes of", m_path);
}

std::size_t File::Read(std::span<std::uint8_t> buffer) const {
    std::size_t done = 0;
    while (done < buffer.size()) {
        const auto part = OneCall(buffer.subspan(done));
        DWORD got = 0;
        if (!::ReadFile(Handle(), part.data(), static_cast<DWORD>(part.size()), &got, nullptr))
            throw SystemError(GetLastError(), "read", m_path);
        if (got == 0) break;
        done += got;
    }
    return done;
}

std::size_t File::ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const {
    Seek(offset);
    return Read(buffer);
}

void File::Write(Bytes bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const auto part = OneCall(bytes.subspan(done));
        DWORD written = 0;
        if (!WriteFile(Handle(), part.data(), static_cast<DWORD>(part.size()), &written, nullptr))
            throw SystemError(GetLastError(), "write", m_path);
        if (written == 0) throw SystemError(ERROR_DISK_FULL, "write", m_path);
        done += written;
    }
}

void File::Write(std::string_view text) { Write(BytesOf(text)); }

void File::WriteAt(std::uint64_t offset, Bytes bytes) {
    Seek(offset);
    Write(bytes);
}

void File::Truncate(std::uint64_t size) {
    Seek(size);
    if (!SetEndOfFile(Handle())) throw SystemError(GetLastError(), "write", m_path);
}

/// Calls that carry their position cost a message to Wine's server each.
void File::Seek(std::uint64_t offset) const {
    LARGE_INTEGER position;
    position.QuadPart = static_cast<LONGLONG>(offset);
    if (!SetFilePointerEx(Handle(), position, nullptr, FILE_BEGIN))
        throw SystemError(GetLastError(), "use", m_path);
}

void File::Flush() {
    if (!FlushFileBuffers(Handle())) throw SystemError(GetLastError(), "write", m_path);
}

/// By the handle: by now the name may be that of another file.
DWORD File::Rename(const std::wstring& path, OtherFile other) {
    const std::wstring target = FileSystem::Extended(FileSystem::FullPath(path));
    const std::size_t bytes = target.size() * sizeof(wchar_t);
    // Zeros stand behind the name: the system looks for its end as well as for its length.
    std::vector<std::uint64_t> buffer((sizeof(FILE_RENAME_INFO) + bytes) / sizeof(std::uint64_t) + 1);
    auto* const info = new (buffer.data()) FILE_RENAME_INFO{};
    info->FileNameLength = static_cast<DWORD>(bytes);
    target.copy(info->FileName, target.size());
    const auto rename = [&](bool replaces) {
        info->ReplaceIfExists = replaces;
        return SetFileInformationByHandle(Handle(), FileRenameInfo, info,
                                          static_cast<DWORD>(buffer.size() * sizeof buffer.front())) != FALSE;
    };
    const DWORD error = other == OtherFile::IsReplaced ? FileSystem::RenameReplacing(path, rename)
                                                       : Persistently(target, [&] { return rename(false); });
    if (error == ERROR_SUCCESS) m_path = path;
    return error;
}

/// Nobody else can open the file before it has its name.
DWORD File::TakeName(const std::wstring& path, OtherFile other) {
    // Renamed all the same it would go under its new name, and its source is deleted next.
    if (!SetRemovedWhenClosed(Handle(), false) && m_isRemovedWhenClosed) return GetLastError();
    RollBack transient([&] { RemoveWhenClosed(); });
    const DWORD error = Rename(path, other);
    if (error == ERROR_SUCCESS) transient.Dismiss();
    return error;
}

bool File::RemoveWhenClosed() {
    m_isRemovedWhenClosed = SetRemovedWhenClosed(Handle(), true);
    return m_isRemovedWhenClosed;
}

bool File::IsBeingRemoved() const {
    FILE_STANDARD_INFO info{};
    return GetFileInformationByHandleEx(Handle(), FileStandardInfo, &info, sizeof info) && info.DeletePending;
}

void File::Discard() noexcept {
    // The system removes no read-only file. Times of 0 leave those of the file.
    FILE_BASIC_INFO info{};
    info.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    SetFileInformationByHandle(Handle(), FileBasicInfo, &info, sizeof info);
    const bool goes = RemoveWhenClosed();
    Close();
    if (!goes) FileSystem::TryDelete(m_path);
}

std::string ReadFile(const std::wstring& path, Where where) {
    return ContentOf(File::Open(path, GENERIC_READ, kShareAll, OPEN_EXISTING, where));
}

std::string ReadUnchanging(const std::wstring& path, Where where) {
    const auto file = File::TryOpenPersistently(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE);
    if (!file) throw SystemError(GetLastError(), "open", path, where);
    return ContentOf(*file);
}

void WriteNewFile(const std::wstring& path, std::string_view content, Where where) {
    File::CreateNew(path, where).Write(content);
}

void AppendToFile(const std::wstring& path, std::string_view text, Where where) {
    File::Open(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS, where).Write(text);
}

}  // namespace base
