#include "common/FileSystem.h"

#include <algorithm>
#include <array>
#include <memory>

#include "com/Error.h"
#include "common/Path.h"

namespace FileSystem {

namespace {

/// Windows takes longer paths only in their extended form, which it does not normalise itself.
/// 248 is the limit for folders, the lowest of the limits.
constexpr size_t kLongestPlainPath = 247;

DWORD Attributes(const std::wstring& path) noexcept try {
    return GetFileAttributesW(Extended(path).c_str());
} catch (const std::bad_alloc&) {
    return INVALID_FILE_ATTRIBUTES;
}

struct FindCloser {
    void operator()(HANDLE find) const noexcept { FindClose(find); }
};
using FindHandle = std::unique_ptr<void, FindCloser>;

bool IsSelfOrParent(const wchar_t* name) {
    const std::wstring_view text(name);
    return text == L"." || text == L"..";
}

std::uint64_t Wide(DWORD high, DWORD low) { return (std::uint64_t{high} << 32) | low; }

void Append(Listing& listing, const WIN32_FIND_DATAW& found) {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        listing.files.push_back(
            {found.cFileName, Wide(found.nFileSizeHigh, found.nFileSizeLow), found.dwFileAttributes});
    else if (!IsSelfOrParent(found.cFileName))
        listing.folders.emplace_back(found.cFileName);
}

constexpr LONG kDiskQuotaExceeded = 1295;  // not in every version of the headers

/// Failures that come once data flows, in a source that could be opened: the destination then holds a part of
/// it.
bool LeavesPartialCopy(DWORD error) {
    constexpr std::array kErrors = {
        ERROR_DISK_FULL,     ERROR_HANDLE_DISK_FULL, ERROR_WRITE_FAULT,     ERROR_READ_FAULT,
        ERROR_CRC,           ERROR_IO_DEVICE,        ERROR_NETNAME_DELETED, ERROR_UNEXP_NET_ERR,
        ERROR_DEV_NOT_EXIST, kDiskQuotaExceeded};
    return std::ranges::find(kErrors, static_cast<LONG>(error)) != kErrors.end();
}

/// No handle when the file cannot be opened; GetLastError tells why.
Handle TryOpen(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition) {
    const HANDLE file = CreateFileW(Extended(path).c_str(), access, sharing, nullptr, disposition,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    return Handle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

/// Windows neither deletes nor replaces a read-only file, and copies over no hidden one: where that fails,
/// these attributes are lifted for a second try, and come back when that fails, too. Returns the action's
/// error.
template <class Action>
DWORD WithoutProtection(const std::wstring& file, Action action) {
    constexpr DWORD kProtection = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
    if (action()) return ERROR_SUCCESS;
    DWORD error = GetLastError();
    if (error != ERROR_ACCESS_DENIED) return error;
    const DWORD attributes = GetFileAttributesW(file.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & kProtection)) return error;
    SetFileAttributesW(file.c_str(), attributes & ~kProtection);
    if (action()) return ERROR_SUCCESS;
    error = GetLastError();
    SetFileAttributesW(file.c_str(), attributes);
    return error;
}

DWORD DeleteEvenReadOnly(const std::wstring& path) {
    const std::wstring file = Extended(path);
    return WithoutProtection(file, [&] { return DeleteFileW(file.c_str()); });
}

DWORD Replace(const std::wstring& source, const std::wstring& destination) {
    const std::wstring target = Extended(destination);
    return WithoutProtection(target, [&] {
        return MoveFileExW(Extended(source).c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING);
    });
}

[[noreturn]] void ThrowTransfer(DWORD error, const std::wstring& source, const std::wstring& destination) {
    com::ThrowWin32(error, source + L" -> " + destination);
}

enum class Existing { Overwrite, Fail };

DWORD Copy(const std::wstring& source, const std::wstring& destination, Existing existing) {
    const std::wstring from = Extended(source);
    const std::wstring to = Extended(destination);
    const auto copy = [&] { return CopyFileW(from.c_str(), to.c_str(), existing == Existing::Fail); };
    if (existing == Existing::Overwrite) return WithoutProtection(to, copy);
    return copy() ? ERROR_SUCCESS : GetLastError();
}

/// size: the source's in bytes, as far as is known; it may be of a moment ago.
void CopyVerified(const std::wstring& source, const std::wstring& destination, std::uint64_t size,
                  Existing existing) {
    const DWORD error = Copy(source, destination, existing);
    if (LeavesPartialCopy(error)) DeleteEvenReadOnly(destination);
    if (error != ERROR_SUCCESS) ThrowTransfer(error, source, destination);
    // A read error in the middle of a copy is not reported by every redirector.
    const std::uint64_t copied = FileSize(destination);
    if (copied != size) size = FileSize(source);
    if (copied == size) return;
    DeleteEvenReadOnly(destination);
    throw com::Error(HRESULT_FROM_WIN32(ERROR_READ_FAULT),
                     L"The copy is incomplete: " + std::to_wstring(copied) + L" of " + std::to_wstring(size) +
                         L" bytes (" + source + L" -> " + destination + L")");
}

/// For a destination on another volume.
void CopyAndDelete(const std::wstring& source, const std::wstring& destination) {
    const WriteBlock block(source);
    block.Check();
    CopyVerified(source, destination, FileSize(source), Existing::Fail);
    try {
        DeleteFile(source);
    } catch (...) {
        DeleteEvenReadOnly(destination);
        throw;
    }
}

/// Where a file arrives before it takes its place. No two threads share a name, which is short enough for
/// every folder and, as the transporter reads names, that of no packet: a crash leaves no false backup.
std::wstring ArrivalBeside(const std::wstring& path) {
    const std::wstring folder = path.substr(0, path.size() - Path::FileName(path).size());
    return folder + L"~" + std::to_wstring(GetCurrentThreadId()) + L".arriving";
}

}  // namespace

std::wstring FullPath(const std::wstring& path) {
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
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

std::uint64_t FileSize(const std::wstring& path) {
    const std::optional<FileVersion> version = VersionOf(path);
    if (!version) com::ThrowWin32(GetLastError(), path);
    return version->size;
}

std::optional<FileVersion> VersionOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(Extended(path).c_str(), GetFileExInfoStandard, &data)) return std::nullopt;
    return FileVersion{Wide(data.nFileSizeHigh, data.nFileSizeLow),
                       Wide(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)};
}

void List(const std::wstring& folder, Listing& listing) {
    WIN32_FIND_DATAW found;
    const HANDLE first = FindFirstFileExW(Extended(Path::Join(folder, L"*")).c_str(), FindExInfoBasic, &found,
                                          FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (first == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        // The root of an empty volume has not even "." and "..".
        if (error == ERROR_FILE_NOT_FOUND && FolderExists(folder)) return;
        com::ThrowWin32(error, folder);
    }
    const FindHandle find(first);
    do {
        Append(listing, found);
    } while (FindNextFileW(find.get(), &found));
    if (GetLastError() != ERROR_NO_MORE_FILES) com::ThrowWin32(GetLastError(), folder);
}

Listing List(const std::wstring& folder) {
    Listing listing;
    List(folder, listing);
    return listing;
}

void CreateFolder(const std::wstring& path) {
    if (!CreateDirectoryW(Extended(path).c_str(), nullptr)) com::ThrowWin32(GetLastError(), path);
}

void CopyFile(const std::wstring& source, const std::wstring& destination,
              std::optional<std::uint64_t> size) {
    CopyVerified(source, destination, size ? *size : FileSize(source), Existing::Overwrite);
}

void MoveFile(const std::wstring& source, const std::wstring& destination) {
    if (MoveFileExW(Extended(source).c_str(), Extended(destination).c_str(), 0)) return;
    const DWORD error = GetLastError();
    if (error != ERROR_NOT_SAME_DEVICE) ThrowTransfer(error, source, destination);
    CopyAndDelete(source, destination);
}

void CopyReplacing(const std::wstring& source, const std::wstring& destination) {
    const std::wstring arrival = ArrivalBeside(destination);
    try {
        CopyFile(source, arrival);
        const DWORD error = Replace(arrival, destination);
        if (error != ERROR_SUCCESS) ThrowTransfer(error, source, destination);
    } catch (...) {
        DeleteEvenReadOnly(arrival);
        throw;
    }
}

void MoveReplacing(const std::wstring& source, const std::wstring& destination) {
    const DWORD error = Replace(source, destination);
    if (error == ERROR_SUCCESS) return;
    if (error != ERROR_NOT_SAME_DEVICE) ThrowTransfer(error, source, destination);
    const WriteBlock block(source);
    block.Check();
    CopyReplacing(source, destination);
    DeleteFile(source, ReadOnlyFiles::Delete);
}

void DeleteFile(const std::wstring& path, ReadOnlyFiles readOnly) {
    if (readOnly == ReadOnlyFiles::Keep && DeleteFileW(Extended(path).c_str())) return;
    const DWORD error = readOnly == ReadOnlyFiles::Keep ? GetLastError() : DeleteEvenReadOnly(path);
    if (error != ERROR_SUCCESS) com::ThrowWin32(error, path);
}

WriteBlock::WriteBlock(const std::wstring& path)
    : m_path(path),
      m_file(TryOpen(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING)),
      m_error(m_file ? ERROR_SUCCESS : GetLastError()) {}

bool WriteBlock::SomebodyWrites() const {
    return m_error == ERROR_SHARING_VIOLATION &&
           TryOpen(m_path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                   OPEN_EXISTING);
}

void WriteBlock::Check() const {
    if (!m_file) com::ThrowWin32(m_error, m_path);
}

Handle Open(const std::wstring& path, DWORD access, DWORD sharing, DWORD disposition) {
    Handle file = TryOpen(path, access, sharing, disposition);
    if (!file) com::ThrowWin32(GetLastError(), path);
    return file;
}

void Write(HANDLE file, const std::wstring& path, std::string_view text) {
    DWORD written = 0;
    if (!WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
        written != text.size())
        com::ThrowWin32(GetLastError(), path);
}

void Append(const std::wstring& path, std::string_view text) {
    const Handle file = Open(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS);
    Write(file.get(), path, text);
}

TextFile::TextFile(const std::wstring& path, DWORD access, DWORD disposition)
    : m_path(path), m_file(FileSystem::Open(path, access, FILE_SHARE_READ, disposition)) {}

TextFile TextFile::Create(const std::wstring& path) { return TextFile(path, GENERIC_WRITE, CREATE_ALWAYS); }
TextFile TextFile::Open(const std::wstring& path) { return TextFile(path, GENERIC_READ, OPEN_EXISTING); }

void TextFile::WriteLine(std::string_view line) { Write(m_file.get(), m_path, std::string(line) + "\r\n"); }

std::string TextFile::ReadLine() {
    std::array<char, 1024> buffer;
    DWORD length = 0;
    if (!ReadFile(m_file.get(), buffer.data(), static_cast<DWORD>(buffer.size()), &length, nullptr))
        com::ThrowWin32(GetLastError(), m_path);
    const std::string_view text(buffer.data(), length);
    const size_t end = text.find_first_of("\r\n");
    LARGE_INTEGER next{};
    next.QuadPart =
        static_cast<LONGLONG>(std::min(text.find('\n'), text.size() - 1) + 1) - static_cast<LONGLONG>(length);
    if (length != 0) SetFilePointerEx(m_file.get(), next, nullptr, FILE_CURRENT);
    return std::string(text.substr(0, end));
}

}  // namespace FileSystem
