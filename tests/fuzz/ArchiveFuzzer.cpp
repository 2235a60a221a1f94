// Archives give back what was put into them: names, times and contents, at any level and with fields of
// either width.
#include <chrono>
#include <limits>
#include <list>

#include "companions/support/Fields.h"
#include "companions/zip/ArchiveReader.h"
#include "companions/zip/ArchiveWriter.h"
#include "companions/zip/DosTime.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/Require.h"

using namespace companions::zip;
using std::chrono::seconds;

namespace {

struct File {
    std::string name;
    std::string content;
    base::FileTime time;

    base::MemorySource Source() const { return base::MemorySource(base::BytesOf(content)); }
};

File TakeFile(FuzzInput& input) {
    constexpr std::int64_t kManyYears = 10'000'000'000;
    File file{input.Text(), input.Text(), {}};
    // What repeats is deflated.
    for (int doublings = input.Between(0, 6); doublings > 0; --doublings)
        file.content += file.content;
    file.time = base::FileTime(seconds(input.Between(-kManyYears, kManyYears)));
    return file;
}

/// What an archive keeps of a time: the exact second where it has 32 bits.
base::FileTime Kept(base::FileTime time) {
    using Limits = std::numeric_limits<std::int32_t>;
    const bool isExact =
        time >= base::FileTime(seconds(Limits::min())) && time <= base::FileTime(seconds(Limits::max()));
    return isExact ? time : FromDosTime(ToDosTime(time));
}

void Check(const ArchiveReader& reader, const Entry& entry, const File& file) {
    Require(entry.name == file.name);
    Require(entry.time == Kept(file.time));
    Require(entry.size == file.content.size());
    base::MemorySink content;
    reader.Extract(entry, content);
    Require(content.Written() == std::vector<std::uint8_t>(file.content.begin(), file.content.end()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    base::MemorySink archive;
    const int level = input.Between(0, 9);
    ArchiveWriter writer(archive, level,
                         {input.Between<std::uint64_t>(1, 3000), input.Between<std::uint64_t>(1, 5)});
    std::list<File> files;
    while (!input.IsEmpty()) {
        const File& file = files.emplace_back(TakeFile(input));
        writer.Add(file.name, file.Source(), file.time);
    }
    writer.Finish();

    const base::MemorySource source(archive.Written());
    const ArchiveReader reader(source);
    Require(reader.Entries().size() == files.size());
    auto file = files.begin();
    for (const Entry& entry : reader.Entries())
        Check(reader, entry, *file++);
    return 0;
}
