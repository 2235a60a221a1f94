// A new file that appears only when it is complete.
#pragma once

#include <cstdint>
#include <string>

#include "base/ByteStream.h"
#include "base/File.h"
#include "base/FileTime.h"

namespace base {

/// It arrives under another name beside the final one, which it takes with Commit, when it is on the disk in
/// full; until then a file of that name stays as it is. Without Commit nothing is left of
/// it.
class StagedFile final : public SeekableSink {
public:
    explicit StagedFile(std::wstring path);
    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;
    ~StagedFile() override;

    void Write(Bytes bytes) override;
    std::uint64_t Size() const override { return m_size; }
    void WriteAt(std::uint64_t offset, Bytes bytes) override;
    void Truncate(std::uint64_t size) override;
    /// After the last Write, which would change it again.
    void SetModificationTime(FileTime time) { m_file.SetModificationTime(time); }
    void Commit();

private:
    std::wstring m_path;
    File m_file;
    std::uint64_t m_size = 0;
    bool m_committed = false;
};

}  // namespace base
