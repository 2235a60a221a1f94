// Whatever an archive says, nothing lands outside of the folder, and no file is longer than announced. What
// was extracted can be packed again, and means the same then.
#include "companions/support/Fields.h"
#include "companions/zip/ArchiveReader.h"
#include "companions/zip/ArchiveWriter.h"
#include "companions/zip/DosTime.h"
#include "companions/zip/PacketArchive.h"
#include "tests/fuzz/BoundedSink.h"

using namespace companions;

namespace {

void CheckStaysInside(const std::wstring& path) {
    const std::wstring guarded = L"\\" + path + L"\\";
    // Neither a root, nor a drive, nor a way up.
    Require(guarded.find(L"\\\\") == guarded.npos && guarded.find(L':') == guarded.npos &&
            guarded.find(L"\\..\\") == guarded.npos);
}

/// At most 100 KB again, so that the time goes into different archives.
void PackAgain(const zip::Entry& entry, const std::wstring& path, base::Bytes content) {
    if (content.size() > 100'000) return;
    const std::string name = zip::EntryName(path, zip::Paths::Keep);
    base::MemorySink archive;
    zip::ArchiveWriter writer(archive, 1);
    writer.Add(name, base::MemorySource(content), entry.time);
    writer.Finish();

    const base::MemorySource source(archive.Written());
    const zip::ArchiveReader reader(source);
    const zip::Entry& again = reader.Entries().at(0);
    Require(again.size == content.size() && again.crc == entry.crc);
    Require(zip::ToDosTime(again.time).date == zip::ToDosTime(entry.time).date);
    Require(zip::TargetPath(again.name, zip::Paths::Keep) == path);
}

void Extract(const zip::ArchiveReader& reader, const zip::Target& target) try {
    CheckStaysInside(target.path);
    BoundedSink sink(target.entry->size);
    reader.Extract(*target.entry, sink);
    sink.Finish();
    PackAgain(*target.entry, target.path, sink.Written());
} catch (const FormatError&) {
}

std::wstring Same(std::wstring_view path) { return std::wstring(path); }

void ExtractAll(const zip::ArchiveReader& reader, zip::Paths paths) try {
    for (const zip::Target& target : zip::PlanExtraction(reader.Entries(), paths, &Same))
        Extract(reader, target);
} catch (const FormatError&) {
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) try {
    const base::MemorySource source({data, size});
    zip::PacketObjection(source, L"a.mdb", &Same);
    const zip::ArchiveReader reader(source);
    ExtractAll(reader, zip::Paths::Keep);
    ExtractAll(reader, zip::Paths::Junk);
    return 0;
} catch (const FormatError&) {
    return 0;
}
