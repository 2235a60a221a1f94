// Files that are read, and files that appear under their name only when they are complete.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

#include "companions/support/Bytes.h"
#include "companions/support/NativeFile.h"

namespace companions {

/// A file of any size at a path of any length, to which nobody can write meanwhile (where the system can
/// prevent it: on Windows). Failures are Errors that name it.
class InputFile final : public ByteSource {
public:
    explicit InputFile(const std::filesystem::path& path) : m_file(NativeFile::Open(path)) {}

    std::uint64_t Size() const override { return m_file.Size(); }
    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> buffer) const override {
        return m_file.ReadAt(offset, buffer);
    }
    FileTime ModificationTime() const { return m_file.ModificationTime(); }

private:
    NativeFile m_file;
};

/// A new file. It is written under a temporary name beside the final one, which it takes with Commit, when it
/// is on the disk in full; until then a file of that name stays as it is. Without Commit nothing is left of
/// it.
class OutputFile final : public ByteSink {
public:
    explicit OutputFile(const std::filesystem::path& path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() override;

    /// Appends.
    void Write(std::span<const std::uint8_t> bytes) override;
    /// Replaces bytes that were written before.
    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes);
    void Truncate(std::uint64_t size);
    std::uint64_t Size() const { return m_size; }
    /// After the last Write, which would change it again.
    void SetModificationTime(FileTime time) { m_file.SetModificationTime(time); }
    void Commit();

private:
    std::filesystem::path m_path;
    NativeFile m_file;
    std::uint64_t m_size = 0;
    bool m_committed = false;
};

/// Creates a folder with those above it, as far as they are missing.
void CreateFolders(const std::filesystem::path& path);

}  // namespace companions
