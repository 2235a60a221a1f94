#include "companions/support/NativeFile.h"

#include <windows.h>

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>

#include "base/FileSystem.h"
#include "base/SystemError.h"
#include "base/Utf8.h"
#include "companions/support/Error.h"

namespace companions {

namespace {

std::errc Kind(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
        return std::errc::no_such_file_or_directory;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
        return std::errc::permission_denied;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
        return std::errc::device_or_resource_busy;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return std::errc::no_space_on_device;
    case ERROR_FILENAME_EXCED_RANGE:
        return std::errc::filename_too_long;
    default:
        return {};
    }
}

[[noreturn]] void Throw(std::string_view verb, const std::filesystem::path& path, DWORD error) {
    std::string reason = base::ToUtf8(base::SystemText(error));
    while (reason.ends_with('.'))
        reason.pop_back();
    ThrowFileError(verb, path, reason, Kind(error));
}

std::wstring Extended(const std::filesystem::path& path) { return FileSystem::Extended(path.native()); }

HANDLE OpenHandle(const std::filesystem::path& path, DWORD access, DWORD sharing, DWORD disposition) {
    return CreateFileW(Extended(path).c_str(), access, sharing, nullptr, disposition,
                       FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
}

/// The part of a buffer that one call may carry: 32-bit counts, and redirectors that take far less than
/// those.
template <typename Byte>
std::span<Byte> OneCall(std::span<Byte> bytes) {
    constexpr std::size_t kLargest = std::size_t{16} << 20;
    return bytes.first(std::min(bytes.size(), kLargest));
}

/// Not every file system knows this: then only our own end removes the file.
void SetRemovedWhenClosed(HANDLE file, bool removed) {
    FILE_DISPOSITION_INFO disposition{removed};
    SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition);
}

/// Windows counts from the year 1601.
constexpr std::chrono::seconds kWindowsEpoch{11'644'473'600};

}  // namespace

NativeFile NativeFile::Open(const std::filesystem::path& path) {
    // What is written while a file is read may be in one part of the output and not in another.
    constexpr DWORD kSharing = FILE_SHARE_READ | FILE_SHARE_DELETE;
    const HANDLE file = OpenHandle(path, GENERIC_READ, kSharing, OPEN_EXISTING);
    if (file == INVALID_HANDLE_VALUE) Throw("open", path, GetLastError());
    return {path, file};
}

std::optional<NativeFile> NativeFile::CreateNew(const std::filesystem::path& path) {
    const HANDLE file = OpenHandle(path, GENERIC_READ | GENERIC_WRITE | DELETE, 0, CREATE_NEW);
    const DWORD error = GetLastError();
    if (file == INVALID_HANDLE_VALUE && error == ERROR_FILE_EXISTS) return std::nullopt;
    if (file == INVALID_HANDLE_VALUE) Throw("create", path, error);
    SetRemovedWhenClosed(file, true);
    return NativeFile(path, file);
}

NativeFile::NativeFile(NativeFile&& other) noexcept
    : m_path(std::move(other.m_path)), m_handle(std::exchange(other.m_handle, nullptr)) {}

NativeFile::~NativeFile() { Close(); }

std::uint64_t NativeFile::Size() const {
    LARGE_INTEGER size;
    if (!GetFileSizeEx(m_handle, &size)) Throw("examine", m_path, GetLastError());
    return static_cast<std::uint64_t>(size.QuadPart);
}

FileTime NativeFile::ModificationTime() const {
    FILETIME time;
    if (!GetFileTime(m_handle, nullptr, nullptr, &time)) Throw("examine", m_path, GetLastError());
    ULARGE_INTEGER ticks;
    ticks.LowPart = time.dwLowDateTime;
    ticks.HighPart = time.dwHighDateTime;
    return FileTime(FileTime::duration(static_cast<std::int64_t>(ticks.QuadPart))) - kWindowsEpoch;
}

void NativeFile::SetModificationTime(FileTime time) {
    ULARGE_INTEGER ticks;
    ticks.QuadPart = static_cast<ULONGLONG>((time + kWindowsEpoch).time_since_epoch().count());
    const FILETIME modified{ticks.LowPart, ticks.HighPart};
    if (!SetFileTime(m_handle, nullptr, nullptr, &modified)) Throw("set the time of", m_path, GetLastError());
}

std::size_t NativeFile::ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const {
    Seek(offset);
    std::size_t done = 0;
    while (done < buffer.size()) {
        const auto part = OneCall(buffer.subspan(done));
        DWORD got = 0;
        if (!ReadFile(m_handle, part.data(), static_cast<DWORD>(part.size()), &got, nullptr))
            Throw("read", m_path, GetLastError());
        if (got == 0) break;
        done += got;
    }
    return done;
}

void NativeFile::WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    Seek(offset);
    std::size_t done = 0;
    while (done < bytes.size()) {
        const auto part = OneCall(bytes.subspan(done));
        DWORD written = 0;
        if (!WriteFile(m_handle, part.data(), static_cast<DWORD>(part.size()), &written, nullptr))
            Throw("write", m_path, GetLastError());
        if (written == 0) Throw("write", m_path, ERROR_DISK_FULL);
        done += written;
    }
}

void NativeFile::Truncate(std::uint64_t size) {
    Seek(size);
    if (!SetEndOfFile(m_handle)) Throw("write", m_path, GetLastError());
}

/// Calls that carry their position cost a message to Wine's server each.
void NativeFile::Seek(std::uint64_t offset) const {
    LARGE_INTEGER position;
    position.QuadPart = static_cast<LONGLONG>(offset);
    if (!SetFilePointerEx(m_handle, position, nullptr, FILE_BEGIN)) Throw("use", m_path, GetLastError());
}

void NativeFile::Keep() {
    if (!FlushFileBuffers(m_handle)) Throw("write", m_path, GetLastError());
    SetRemovedWhenClosed(m_handle, false);
}

void NativeFile::Close() noexcept {
    if (m_handle) CloseHandle(std::exchange(m_handle, nullptr));
}

void Rename(const std::filesystem::path& source, const std::filesystem::path& destination) {
    if (!MoveFileExW(Extended(source).c_str(), Extended(destination).c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        Throw("replace", destination, GetLastError());
}

bool Exists(const std::filesystem::path& path) noexcept {
    return FileSystem::FileExists(path.native()) || FolderExists(path);
}

bool FolderExists(const std::filesystem::path& path) noexcept {
    return FileSystem::FolderExists(path.native());
}

void CreateFolder(const std::filesystem::path& path) {
    if (!CreateDirectoryW(Extended(path).c_str(), nullptr)) Throw("create", path, GetLastError());
}

void Remove(const std::filesystem::path& path) noexcept try {
    DeleteFileW(Extended(path).c_str());
} catch (const std::bad_alloc&) {
    // The file stays; the next one takes another name.
}

}  // namespace companions
