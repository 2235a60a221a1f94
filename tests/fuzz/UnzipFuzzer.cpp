// Whatever an archive says, nothing lands outside of the folder, and no file is longer than announced.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "companions/zip/ArchiveReader.h"
#include "companions/zip/Extraction.h"

using namespace companions;

namespace {

class CountingSink final : public ByteSink {
public:
    explicit CountingSink(std::uint64_t most) : m_left(most) {}

    void Write(std::span<const std::uint8_t> bytes) override {
        if (bytes.size() > m_left) abort();
        m_left -= bytes.size();
    }
    std::uint64_t Left() const { return m_left; }

private:
    std::uint64_t m_left;
};

void Extract(const zip::ArchiveReader& reader, const zip::Target& target) try {
    if (target.path.is_absolute() || std::ranges::find(target.path, "..") != target.path.end()) abort();
    CountingSink sink(target.member->size);
    reader.Extract(*target.member, sink);
    if (sink.Left() != 0) abort();
} catch (const FormatError&) {
}

void ExtractAll(const zip::ArchiveReader& reader, zip::Paths paths) try {
    for (const zip::Target& target : zip::PlanExtraction(reader.Members(), paths))
        Extract(reader, target);
} catch (const FormatError&) {
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) try {
    const MemorySource source({data, size});
    const zip::ArchiveReader reader(source);
    ExtractAll(reader, zip::Paths::Keep);
    ExtractAll(reader, zip::Paths::Junk);
    return 0;
} catch (const FormatError&) {
    return 0;
}
