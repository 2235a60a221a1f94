// Zip.exe: puts files into an archive.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "base/Console.h"
#include "base/File.h"
#include "base/FileSystem.h"
#include "base/StagedFile.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "companions/support/Fields.h"
#include "companions/support/Output.h"
#include "companions/support/Program.h"
#include "companions/support/Usage.h"
#include "companions/zip/ArchiveWriter.h"
#include "companions/zip/EndOfCentralDirectory.h"
#include "companions/zip/Names.h"

namespace companions {

namespace {

using zip::Paths;

constexpr const char* kDescription =
    "Zip puts files into a new archive, which then replaces an existing one of that name as a whole: "
    "members\n"
    "that it had before are not kept. Until the new archive is complete, the existing one stays as it is. A "
    "file\n"
    "that is no zip archive, or is one of the files to pack, is never replaced.";

constexpr const char* kFooter =
    "Levels: -0 stores, -1 is fastest, -9 makes the smallest archive; without one it is 6.\n"
    "The archive's name is taken as it is; no extension is appended. After -- names may begin with a "
    "hyphen.\n"
    "Example:  Zip -9 -jo packet.mdb.afz C:\\Packets\\packet.mdb\n\n"
    "Exit codes: 0 done, 1 a file could not be read or written (nothing has changed), 2 wrong usage.";

constexpr int kDefaultLevel = 6;

struct Options {
    int level = kDefaultLevel;
    bool junkPaths = false;
    bool timeOfNewest = false;
    std::wstring archive;
    std::vector<std::wstring> sources;
};

/// Ten options are one for the user: the footer tells of them.
void AddLevels(CLI::App& app, int& chosen) {
    constexpr int kLast = 9;
    for (int level = 0; level <= kLast; ++level)
        app.add_flag_callback("-" + std::to_string(level), [&chosen, level] { chosen = level; })->group("");
}

Options ParseOptions(const std::vector<std::wstring>& arguments) {
    Options options;
    CLI::App app(kDescription, kProgram.name);
    cli::AddFooter(app, kFooter);
    cli::SetUp(app, kProgram.name);
    AddLevels(app, options.level);
    app.add_flag("-j", options.junkPaths, "Junk paths: members have the bare names of the files");
    app.add_flag("-o", options.timeOfNewest, "Give the archive the time of its newest member");
    cli::AddName(app, "ARCHIVE", options.archive, "The archive to write").required();
    cli::AddTexts(app, "FILE", options.sources, "The files to put into it").required();
    Parse(app, arguments);
    return options;
}

/// What becomes an entry.
struct Addition {
    std::wstring file;
    std::string name;  ///< of the entry, in UTF-8
};

std::vector<Addition> Additions(const Options& options) {
    std::vector<Addition> additions;
    std::set<std::wstring> seen;
    for (const std::wstring& source : options.sources) {
        const std::string name = zip::EntryName(source, options.junkPaths ? Paths::Junk : Paths::Keep);
        const std::wstring shown = base::FromUtf8(name);
        if (name.empty()) throw UsageError(L"\"" + source + L"\" is no file name");
        if (!seen.insert(base::Upper(shown)).second)
            throw UsageError(L"two files would have the name " + shown +
                             L" in the archive; put them into two archives");
        additions.push_back({source, name});
    }
    return additions;
}

/// A file whose name stands where the archive's belongs must not be lost.
void CheckIsArchive(const std::wstring& path) try {
    zip::FindCentralDirectory(base::InputFile(path));
} catch (const FormatError&) {
    throw base::Error(
        HRESULT_FROM_WIN32(ERROR_FILE_EXISTS),
        path + L" exists and is no zip archive; name the archive first and then the files, or delete "
               L"that file");
}

void CheckReplaceable(const Options& options) {
    if (!FileSystem::FileExists(options.archive)) return;
    for (const std::wstring& source : options.sources)
        CheckIsOther(options.archive, source);
    CheckIsArchive(options.archive);
}

void Report(const zip::Entry& entry) {
    const bool stored = entry.method == zip::Method::Stored;
    const std::uint64_t percent = stored ? 0 : (entry.size - entry.compressedSize) * 100 / entry.size;
    Console::Line(L"  adding: " + base::FromUtf8(entry.name) +
                  (stored ? L" (stored)" : L" (deflated by " + std::to_wstring(percent) + L" %)"));
}

void Run(const std::vector<std::wstring>& arguments) {
    const Options options = ParseOptions(arguments);
    const std::vector<Addition> additions = Additions(options);
    CheckReplaceable(options);
    base::StagedFile out(options.archive);
    zip::ArchiveWriter writer(out, options.level);
    base::FileTime newest = base::FileTime::min();
    for (const Addition& addition : additions) {
        const base::InputFile file(addition.file);
        const base::FileTime time = file.ModificationTime();
        Report(writer.Add(addition.name, file, time));
        newest = std::max(newest, time);
    }
    writer.Finish();
    if (options.timeOfNewest) out.SetModificationTime(newest);
    out.Commit();
}

}  // namespace

const Program kProgram{"Zip", &Run};

}  // namespace companions
