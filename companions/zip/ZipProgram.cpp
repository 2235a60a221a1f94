// Zip.exe: puts files into an archive.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "companions/support/File.h"
#include "companions/support/Program.h"
#include "companions/zip/ArchiveWriter.h"
#include "companions/zip/Names.h"

namespace companions {

namespace {

using zip::Paths;

constexpr const char* kDescription =
    "Zip puts files into a new archive, which then replaces an existing one of that name as a whole: "
    "members\n"
    "that it had before are not kept. Until the new archive is complete, the existing one stays as it is.";

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
    std::filesystem::path archive;
    std::vector<std::filesystem::path> sources;
};

/// Ten options are one for the user: the footer tells of them.
void AddLevels(CLI::App& app, int& chosen) {
    constexpr int kLast = 9;
    for (int level = 0; level <= kLast; ++level)
        app.add_flag_callback("-" + std::to_string(level), [&chosen, level] { chosen = level; })->group("");
}

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    std::string archive;
    std::vector<std::string> sources;
    CLI::App app(kDescription, "Zip");
    app.footer(kFooter);
    app.set_version_flag("--version", "Zip " ZN_VERSION " (" ZN_BITS "-bit)");
    AddLevels(app, options.level);
    app.add_flag("-j", options.junkPaths, "Junk paths: members have the bare names of the files");
    app.add_flag("-o", options.timeOfNewest, "Give the archive the time of its newest member");
    app.add_option("ARCHIVE", archive, "The archive to write")->required();
    app.add_option("FILE", sources, "The files to put into it")->required();
    Parse(app, arguments);
    options.archive = ToPath(archive);
    for (const std::string& source : sources)
        options.sources.push_back(ToPath(source));
    return options;
}

/// What a member was made of.
struct Addition {
    std::filesystem::path file;
    std::string name;
};

std::vector<Addition> Additions(const Options& options) {
    std::vector<Addition> additions;
    std::set<std::filesystem::path::string_type> seen;
    for (const std::filesystem::path& source : options.sources) {
        const std::string name = zip::MemberName(source, options.junkPaths ? Paths::Junk : Paths::Keep);
        if (name.empty()) throw UsageError("\"" + Shown(source) + "\" is no file name");
        if (!seen.insert(zip::Folded(ToPath(name))).second)
            throw UsageError("two files would have the name " + name +
                             " in the archive; put them into two archives");
        additions.push_back({source, name});
    }
    return additions;
}

void Report(const zip::Member& member) {
    const bool stored = member.method == zip::Method::Stored;
    const std::uint64_t percent = stored ? 0 : (member.size - member.packedSize) * 100 / member.size;
    Print("  adding: " + member.name +
          (stored ? " (stored)" : " (deflated by " + std::to_string(percent) + " %)"));
}

void Run(const std::vector<std::string>& arguments) {
    const Options options = ParseOptions(arguments);
    const std::vector<Addition> additions = Additions(options);
    OutputFile out(options.archive);
    zip::ArchiveWriter writer(out, options.level);
    FileTime newest = FileTime::min();
    for (const Addition& addition : additions) {
        const InputFile file(addition.file);
        const FileTime time = file.ModificationTime();
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
