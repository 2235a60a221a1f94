// xDelta: makes and applies binary differences between files.
#include <CLI/CLI.hpp>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/StagedFile.h"
#include "companions/delta/MakeDelta.h"
#include "companions/delta/Patch.h"
#include "companions/support/Output.h"
#include "companions/support/Program.h"
#include "companions/support/Usage.h"

namespace {

using namespace companions;
using namespace companions::delta;

struct Paths {
    std::wstring delta;
    std::wstring reference;
    std::wstring source;
    std::wstring output;
};

/// A file whose name stands where the delta's belongs must not be lost.
void CheckIsDelta(const std::wstring& path) try {
    const base::InputFile file(path);
    std::vector<std::uint8_t> header(kHeaderSize);
    header.resize(file.ReadAt(0, header));
    DecodedHeader(header);
} catch (const DamagedDelta&) {
    throw base::Error(HRESULT_FROM_WIN32(ERROR_FILE_EXISTS),
                      path + L" exists and is no delta file; name another output, or delete that file");
}

void RunDelta(const Paths& paths) {
    const base::InputFile reference(paths.reference);
    const base::InputFile source(paths.source);
    CheckIsOther(paths.output, paths.reference);
    CheckIsOther(paths.output, paths.source);
    if (FileSystem::FileExists(paths.output)) CheckIsDelta(paths.output);
    base::StagedFile output(paths.output);
    MakeDelta(reference, source, output);
    // Of two forms of one packet the receiver takes the later one.
    output.SetModificationTime(source.ModificationTime());
    output.Commit();
}

/// The failure with the name of the file that it is about.
base::Error Named(const std::wstring& path, const base::Error& error) {
    return {error.failure().number, path + L" " + error.failure().description};
}

void RunPatch(const Paths& paths) try {
    const base::InputFile delta(paths.delta);
    const base::InputFile reference(paths.reference);
    CheckIsOther(paths.output, paths.delta);
    CheckIsOther(paths.output, paths.reference);
    const Patch patch(delta, reference);
    CheckRoom(paths.delta, patch.OutputSize(), Path::ParentFolder(paths.output));
    base::StagedFile output(paths.output);
    patch.Apply(output);
    output.Commit();
} catch (const DamagedDelta& error) {
    throw Named(paths.delta, error);
} catch (const WrongReference& error) {
    throw Named(paths.reference, error);
}

void Run(const std::vector<std::wstring>& arguments) {
    CLI::App app(
        "Makes and applies binary differences between files.\n"
        "Exit codes: 0 done; 1 a file cannot be read or written, is damaged, or is the wrong reference;"
        " 2 wrong usage.",
        kProgram.name);
    cli::AddFooter(app, "");
    cli::SetUp(app, kProgram.name);
    app.require_subcommand(1);

    Paths paths;
    auto* const delta = app.add_subcommand("delta", "Writes what changed from REF to SRC into the file OUT");
    cli::AddName(*delta, "REF", paths.reference, "the file that the receiver has, too").required();
    cli::AddName(*delta, "SRC", paths.source, "the file that the receiver is to get").required();
    cli::AddName(*delta, "OUT", paths.output, "the delta file; an older one is replaced, another file is not")
        .required();
    auto* const patch = app.add_subcommand("patch", "Restores a file from the file DELTA and its reference");
    cli::AddName(*patch, "DELTA", paths.delta, "the delta file").required();
    cli::AddName(*patch, "REF", paths.reference, "the file that the delta was made against").required();
    cli::AddName(*patch, "OUT", paths.output, "the restored file; one that exists is replaced").required();

    Parse(app, arguments);
    if (delta->parsed())
        RunDelta(paths);
    else
        RunPatch(paths);
}

}  // namespace

const Program companions::kProgram{"xDelta", &Run};
