// Unzip.exe: restores the files of an archive.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

#include "base/Console.h"
#include "base/File.h"
#include "base/FileSystem.h"
#include "base/OemText.h"
#include "base/Path.h"
#include "base/StagedFile.h"
#include "base/Text.h"
#include "companions/support/Fields.h"
#include "companions/support/Output.h"
#include "companions/support/Program.h"
#include "companions/support/Usage.h"
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
    "outside of the folder, with two members of one name or headers that contradict each other, or for "
    "which\n"
    "there is no room, is refused before anything is written.";

constexpr const char* kFooter =
    "Stored and deflated members are understood, of any size. After -- names may begin with a hyphen.\n"
    "Example:  Unzip -oj packet.mdb.afz -d C:\\Packets\n\n"
    "Exit codes: 0 done, 1 the archive is damaged or a file could not be read or written, 2 wrong usage.";

struct Options {
    bool overwrite = false;
    bool junkPaths = false;
    std::wstring archive;
    std::wstring folder = L".";
};

Options ParseOptions(const std::vector<std::wstring>& arguments) {
    Options options;
    CLI::App app(kDescription, kProgram.name);
    cli::AddFooter(app, kFooter);
    cli::SetUp(app, kProgram.name);
    app.add_flag("-o", options.overwrite, "Overwrite existing files; without it they are an error");
    app.add_flag("-j", options.junkPaths, "Junk paths: all files go directly into the folder");
    cli::AddName(app, "-d", options.folder,
                 "The folder to extract into, made when it is missing. Default: the current one")
        .type_name("FOLDER");
    cli::AddName(app, "ARCHIVE", options.archive, "The archive to read").required();
    Parse(app, arguments);
    return options;
}

/// A bare drive is the current folder there, not its root.
std::wstring Below(const std::wstring& folder, const std::wstring& path) {
    return folder.ends_with(L':') ? folder + path : Path::Join(folder, path);
}

void ExtractFile(const zip::ArchiveReader& reader, const zip::Entry& entry, const std::wstring& path) {
    FileSystem::CreateFolders(Path::ParentFolder(path));
    base::StagedFile out(path);
    reader.Extract(entry, out);
    out.SetModificationTime(entry.time);
    out.Commit();
    Console::Line(L"  extracting: " + path);
}

void CheckAbsent(const std::wstring& path) {
    if (FileSystem::FileExists(path) || FileSystem::FolderExists(path))
        throw base::Error(HRESULT_FROM_WIN32(ERROR_FILE_EXISTS),
                          path + L" exists already; use -o to overwrite it");
}

/// What extracting takes at the most. A file of the same name leaves when its successor is complete.
std::uint64_t NeededRoom(const std::vector<zip::Target>& targets, const std::wstring& folder) {
    std::uint64_t most = 0;
    std::uint64_t taken = 0;
    for (const zip::Target& target : targets) {
        taken += target.entry->size;
        most = std::max(most, taken);
        const auto older = FileSystem::VersionOf(Below(folder, target.path));
        if (older && !target.entry->IsFolder()) taken -= std::min(taken, older->size);
    }
    return most;
}

/// Before anything is written.
void CheckTargets(const std::vector<zip::Target>& targets, const Options& options) {
    for (const zip::Target& target : targets) {
        if (target.entry->IsFolder()) continue;
        const std::wstring path = Below(options.folder, target.path);
        if (options.overwrite)
            CheckIsOther(path, options.archive);
        else
            CheckAbsent(path);
    }
}

void ExtractAll(const base::ByteSource& archive, const Options& options) {
    const zip::ArchiveReader reader(archive, &base::FromOemCodePage);
    const std::vector<zip::Target> targets =
        zip::PlanExtraction(reader.Entries(), options.junkPaths ? Paths::Junk : Paths::Keep, &base::Upper);
    CheckTargets(targets, options);
    FileSystem::CreateFolders(options.folder);
    CheckRoom(options.archive, NeededRoom(targets, options.folder), options.folder);
    for (const zip::Target& target : targets) {
        const std::wstring path = Below(options.folder, target.path);
        if (target.entry->IsFolder())
            FileSystem::CreateFolders(path);
        else
            ExtractFile(reader, *target.entry, path);
    }
}

void Run(const std::vector<std::wstring>& arguments) {
    const Options options = ParseOptions(arguments);
    const base::InputFile archive(options.archive);
    try {
        ExtractAll(archive, options);
    } catch (const FormatError& error) {
        throw base::Error(error.failure().number, options.archive + L": " + error.failure().description);
    }
}

}  // namespace

const Program kProgram{"Unzip", &Run};

}  // namespace companions
