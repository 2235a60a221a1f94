// The system's file functions, which File.h is made of. One implementation for each system.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

namespace companions {

/// A moment in the resolution of Windows file times.
using FileTime = std::chrono::sys_time<std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>;

/// An open file, for one thread at a time; every failure is an Error that names it. Paths may be of any
/// length.
class NativeFile {
public:
    /// Nobody can write to the file until it is closed, and nobody does so now (on Windows).
    static NativeFile Open(const std::filesystem::path& path);
    /// Nothing when there is something of that name. Nobody else can open the file until it is closed, and
    /// the system removes it when the process ends before Keep, however it ends (where the system can do so:
    /// on Windows).
    static std::optional<NativeFile> CreateNew(const std::filesystem::path& path);
    NativeFile(NativeFile&& other) noexcept;
    NativeFile& operator=(NativeFile&&) = delete;
    ~NativeFile();

    const std::filesystem::path& Path() const { return m_path; }
    std::uint64_t Size() const;
    FileTime ModificationTime() const;
    void SetModificationTime(FileTime time);
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const;
    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes);
    void Truncate(std::uint64_t size);
    /// Brings everything to the disk and lets the file outlive the process.
    void Keep();
    void Close() noexcept;

private:
#ifdef _WIN32
    using Handle = void*;
    void Seek(std::uint64_t offset) const;
#else
    using Handle = int;
#endif
    NativeFile(std::filesystem::path path, Handle handle) : m_path(std::move(path)), m_handle(handle) {}

    std::filesystem::path m_path;
    Handle m_handle;
};

/// Replaces a file at the destination in one step: whoever looks sees the old one or the new one.
void Rename(const std::filesystem::path& source, const std::filesystem::path& destination);
bool Exists(const std::filesystem::path& path) noexcept;
bool FolderExists(const std::filesystem::path& path) noexcept;
void CreateFolder(const std::filesystem::path& path);
void Remove(const std::filesystem::path& path) noexcept;

}  // namespace companions
