// Whatever an archive says, nothing lands outside of the folder, and no file is longer than announced.
#include "companions/support/Fields.h"
#include "companions/zip/ArchiveReader.h"
#include "companions/zip/PacketArchive.h"
#include "tests/fuzz/BoundedSink.h"

using namespace companions;

namespace {

void CheckStaysInside(const std::wstring& path) {
    const std::wstring guarded = L"\\" + path + L"\\";
    // Neither a root, nor a drive, nor a way up.
    if (guarded.find(L"\\\\") != guarded.npos || guarded.find(L':') != guarded.npos ||
        guarded.find(L"\\..\\") != guarded.npos)
        abort();
}

void Extract(const zip::ArchiveReader& reader, const zip::Target& target) try {
    CheckStaysInside(target.path);
    BoundedSink sink(target.entry->size);
    reader.Extract(*target.entry, sink);
    sink.Finish();
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
