// See StagedFile.h.
#include "base/StagedFile.h"

#include <algorithm>
#include <utility>

#include "base/Arrival.h"
#include "base/SystemError.h"

namespace base {

StagedFile::StagedFile(std::wstring path)
    : m_path(std::move(path)), m_file(FileSystem::CreateArrival(m_path)) {}

StagedFile::~StagedFile() {
    if (!m_committed) m_file.Discard();
}

void StagedFile::Write(Bytes bytes) {
    m_file.WriteAt(m_size, bytes);
    m_size += bytes.size();
}

void StagedFile::WriteAt(std::uint64_t offset, Bytes bytes) {
    m_file.WriteAt(offset, bytes);
    m_size = std::max(m_size, offset + bytes.size());
}

void StagedFile::Truncate(std::uint64_t size) {
    m_file.Truncate(size);
    m_size = size;
}

void StagedFile::Commit() {
    m_file.Flush();
    if (const DWORD error = m_file.TakeName(m_path, File::OtherFile::IsReplaced); error != ERROR_SUCCESS)
        throw SystemError(error, "replace", m_path);
    m_file.Close();
    m_committed = true;
}

}  // namespace base
