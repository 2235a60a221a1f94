#include "companions/support/NativeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "companions/support/Error.h"

namespace companions {

namespace {

constexpr int kClosed = -1;

[[noreturn]] void Throw(std::string_view verb, const std::filesystem::path& path) {
    const std::error_code code(errno, std::generic_category());
    ThrowFileError(verb, path, code.message(), static_cast<std::errc>(code.value()));
}

struct stat Status(int file, const std::filesystem::path& path) {
    struct stat status;
    if (fstat(file, &status) != 0) Throw("examine", path);
    return status;
}

}  // namespace

NativeFile NativeFile::Open(const std::filesystem::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file == kClosed) Throw("open", path);
    return {path, file};
}

std::optional<NativeFile> NativeFile::CreateNew(const std::filesystem::path& path) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file == kClosed && errno == EEXIST) return std::nullopt;
    if (file == kClosed) Throw("create", path);
    return NativeFile(path, file);
}

NativeFile::NativeFile(NativeFile&& other) noexcept
    : m_path(std::move(other.m_path)), m_handle(std::exchange(other.m_handle, kClosed)) {}

NativeFile::~NativeFile() { Close(); }

std::uint64_t NativeFile::Size() const {
    return static_cast<std::uint64_t>(Status(m_handle, m_path).st_size);
}

FileTime NativeFile::ModificationTime() const {
    const timespec time = Status(m_handle, m_path).st_mtim;
    return FileTime(std::chrono::seconds(time.tv_sec)) +
           std::chrono::duration_cast<FileTime::duration>(std::chrono::nanoseconds(time.tv_nsec));
}

void NativeFile::SetModificationTime(FileTime time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    timespec modified{};
    modified.tv_sec = seconds.time_since_epoch().count();
    modified.tv_nsec = std::chrono::nanoseconds(time - seconds).count();
    const timespec times[] = {{0, UTIME_OMIT}, modified};
    if (futimens(m_handle, times) != 0) Throw("set the time of", m_path);
}

std::size_t NativeFile::ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const {
    std::size_t done = 0;
    while (done < buffer.size()) {
        const ssize_t got =
            pread(m_handle, buffer.data() + done, buffer.size() - done, static_cast<off_t>(offset + done));
        if (got < 0) Throw("read", m_path);
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

void NativeFile::WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written =
            pwrite(m_handle, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
        if (written < 0) Throw("write", m_path);
        done += static_cast<std::size_t>(written);
    }
}

void NativeFile::Truncate(std::uint64_t size) {
    if (ftruncate(m_handle, static_cast<off_t>(size)) != 0) Throw("write", m_path);
}

void NativeFile::Keep() {
    if (fsync(m_handle) != 0) Throw("write", m_path);
}

void NativeFile::Close() noexcept {
    if (m_handle != kClosed) close(std::exchange(m_handle, kClosed));
}

void Rename(const std::filesystem::path& source, const std::filesystem::path& destination) {
    if (rename(source.c_str(), destination.c_str()) != 0) Throw("replace", destination);
}

bool Exists(const std::filesystem::path& path) noexcept { return access(path.c_str(), F_OK) == 0; }

bool FolderExists(const std::filesystem::path& path) noexcept {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

void CreateFolder(const std::filesystem::path& path) {
    if (mkdir(path.c_str(), 0777) != 0) Throw("create", path);
}

void Remove(const std::filesystem::path& path) noexcept { unlink(path.c_str()); }

}  // namespace companions
