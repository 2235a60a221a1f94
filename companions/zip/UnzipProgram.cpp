// Unzip.exe: restores the files of an archive.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>
#include <vector>

#include "companions/support/File.h"
#include "companions/support/Program.h"
#include "companions/zip/ArchiveReader.h"
#include "companions/zip/Extraction.h"

namespace companions {

namespace {

using zip::Paths;

constexpr const char* kDescription =
    "Unzip restores the files of an archive. A file appears under its name when it is complete and its "
    "checksum\n"
    "is right; until then an existing file of that name stays as it is. An archive with a member that would "
    "land\n"
    "outside of the folder, or with two members of the same name, is refused before anything is written.";

constexpr const char* kFooter =
    "Stored and deflated members are understood, of any size. After -- names may begin with a hyphen.\n"
    "Example:  Unzip -oj packet.mdb.afz -d C:\\Packets\n\n"
    "Exit codes: 0 done, 1 the archive is damaged or a file could not be read or written, 2 wrong usage.";

struct Options {
    bool overwrite = false;
    bool junkPaths = false;
    std::filesystem::path archive;
    std::filesystem::path folder;
};

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    std::string archive;
    std::string folder = ".";
    CLI::App app(kDescription, "Unzip");
    app.footer(kFooter);
    app.set_version_flag("--version", "Unzip " ZN_VERSION " (" ZN_BITS "-bit)");
    app.add_flag("-o", options.overwrite, "Overwrite existing files; without it they are an error");
    app.add_flag("-j", options.junkPaths, "Junk paths: all files go directly into the folder");
    app.add_option("-d", folder,
                   "The folder to extract into, made when it is missing. Default: the current one")
        ->type_name("FOLDER");
    app.add_option("ARCHIVE", archive, "The archive to read")->required();
    Parse(app, arguments);
    options.archive = ToPath(archive);
    options.folder = ToPath(folder);
    return options;
}

void ExtractFile(const zip::ArchiveReader& reader, const zip::Member& member,
                 const std::filesystem::path& path) {
    CreateFolders(path.parent_path());
    OutputFile out(path);
    reader.Extract(member, out);
    out.SetModificationTime(member.time);
    out.Commit();
    Print("  extracting: " + Shown(path));
}

void CheckAbsent(const std::filesystem::path& path) {
    if (Exists(path)) throw Error(Shown(path) + " exists already; use -o to overwrite it");
}

void ExtractAll(const ByteSource& archive, const Options& options) {
    const zip::ArchiveReader reader(archive);
    const auto targets = zip::PlanExtraction(reader.Members(), options.junkPaths ? Paths::Junk : Paths::Keep);
    if (!options.overwrite)
        for (const zip::Target& target : targets)
            if (!target.member->IsFolder()) CheckAbsent(options.folder / target.path);
    CreateFolders(options.folder);
    for (const zip::Target& target : targets) {
        const std::filesystem::path path = options.folder / target.path;
        if (target.member->IsFolder())
            CreateFolders(path);
        else
            ExtractFile(reader, *target.member, path);
    }
}

void Run(const std::vector<std::string>& arguments) {
    const Options options = ParseOptions(arguments);
    const InputFile archive(options.archive);
    try {
        ExtractAll(archive, options);
    } catch (const FormatError& error) {
        throw Error(Shown(options.archive) + ": " + error.what());
    }
}

}  // namespace

const Program kProgram{"Unzip", &Run};

}  // namespace companions
