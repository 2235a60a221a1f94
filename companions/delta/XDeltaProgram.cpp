// xDelta: makes and applies binary differences between files.
#include <CLI/CLI.hpp>

#include "companions/delta/MakeDelta.h"
#include "companions/delta/Patch.h"
#include "companions/support/Error.h"
#include "companions/support/File.h"
#include "companions/support/Program.h"

namespace {

using namespace companions;
using namespace companions::delta;

struct Paths {
    std::string delta;
    std::string reference;
    std::string source;
    std::string output;
};

void RunDelta(const Paths& paths) {
    const InputFile reference(ToPath(paths.reference));
    const InputFile source(ToPath(paths.source));
    OutputFile output(ToPath(paths.output));
    MakeDelta(reference, source, output);
    output.Commit();
}

void RunPatch(const Paths& paths) try {
    const InputFile delta(ToPath(paths.delta));
    const InputFile reference(ToPath(paths.reference));
    const Patch patch(delta, reference);
    OutputFile output(ToPath(paths.output));
    patch.Apply(output);
    output.Commit();
} catch (const DamagedDelta& error) {
    throw Error(paths.delta + " " + error.what());
} catch (const WrongReference& error) {
    throw Error(paths.reference + " " + error.what());
}

void Run(const std::vector<std::string>& arguments) {
    CLI::App app(
        "Makes and applies binary differences between files.\n"
        "Exit codes: 0 done; 1 a file cannot be read or written, is damaged, or is the wrong reference;"
        " 2 wrong usage.",
        "xDelta");
    app.set_version_flag("--version", "xDelta " ZN_VERSION " (" ZN_BITS "-bit)");
    // A path may begin with a slash; subcommands take this from the program as it is now.
    app.allow_windows_style_options(false);
    app.require_subcommand(1);

    Paths paths;
    auto* const delta = app.add_subcommand("delta", "Writes what changed from REF to SRC into the file OUT");
    delta->add_option("REF", paths.reference, "the file that the receiver has, too")->required();
    delta->add_option("SRC", paths.source, "the file that the receiver is to get")->required();
    delta->add_option("OUT", paths.output, "the delta file; one that exists is replaced")->required();
    auto* const patch = app.add_subcommand("patch", "Restores a file from the file DELTA and its reference");
    patch->add_option("DELTA", paths.delta, "the delta file")->required();
    patch->add_option("REF", paths.reference, "the file that the delta was made against")->required();
    patch->add_option("OUT", paths.output, "the restored file; one that exists is replaced")->required();

    Parse(app, arguments);
    if (delta->parsed())
        RunDelta(paths);
    else
        RunPatch(paths);
}

}  // namespace

const Program companions::kProgram{"xDelta", &Run};
