#include "companions/support/File.h"

#include <algorithm>

namespace companions {

namespace {

/// Always the same name for the same file, so that what a crash leaves is replaced the next time and does not
/// pile up.
std::filesystem::path TemporaryName(const std::filesystem::path& path) {
    // Names are limited to 255 characters: room for the suffix.
    constexpr std::size_t kLongest = 230;
    const std::filesystem::path name = path.filename().native().substr(0, kLongest);
    return path.parent_path() / (name.native() + std::filesystem::path(".unfinished").native());
}

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& path)
    : m_path(path), m_temporary(TemporaryName(path)), m_file(NativeFile::Create(m_temporary)) {}

OutputFile::~OutputFile() {
    m_file.Close();
    if (!m_committed) Remove(m_temporary);
}

void OutputFile::Write(std::span<const std::uint8_t> bytes) {
    m_file.WriteAt(m_size, bytes);
    m_size += bytes.size();
}

void OutputFile::WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
    m_file.WriteAt(offset, bytes);
    m_size = std::max(m_size, offset + bytes.size());
}

void OutputFile::Truncate(std::uint64_t size) {
    m_file.Truncate(size);
    m_size = size;
}

void OutputFile::Commit() {
    m_file.Keep();
    m_file.Close();
    Rename(m_temporary, m_path);
    m_committed = true;
}

void CreateFolders(const std::filesystem::path& path) {
    if (path.empty() || FolderExists(path)) return;
    CreateFolders(path.parent_path());
    CreateFolder(path);
}

}  // namespace companions
