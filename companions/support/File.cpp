#include "companions/support/File.h"

#include <algorithm>
#include <optional>
#include <string>

namespace companions {

namespace {

std::filesystem::path TemporaryName(const std::filesystem::path& path, unsigned number) {
    // Names are limited to 255 characters: room for the suffix.
    constexpr std::size_t kLongest = 230;
    std::filesystem::path name = path.filename().native().substr(0, kLongest);
    name += ".unfinished";
    if (number > 1) name += std::to_string(number);
    return path.parent_path() / name;
}

/// Under the first name that is free: a file of such a name may be the user's, or another program's output.
NativeFile CreateTemporary(const std::filesystem::path& path) {
    for (unsigned number = 1;; ++number)
        if (auto file = NativeFile::CreateNew(TemporaryName(path, number))) return *std::move(file);
}

}  // namespace

OutputFile::OutputFile(const std::filesystem::path& path) : m_path(path), m_file(CreateTemporary(path)) {}

OutputFile::~OutputFile() {
    m_file.Close();
    if (!m_committed) Remove(m_file.Path());
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
    Rename(m_file.Path(), m_path);
    m_committed = true;
}

void CreateFolders(const std::filesystem::path& path) {
    if (FolderExists(path)) return;
    // A drive is its own parent.
    if (const auto parent = path.parent_path(); parent != path) CreateFolders(parent);
    // What ends in a separator is the same folder as its parent.
    if (path.has_filename()) CreateFolder(path);
}

}  // namespace companions
