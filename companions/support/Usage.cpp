// See Usage.h.
#include "companions/support/Usage.h"

#include <CLI/CLI.hpp>

#include "cli/Complaint.h"

namespace companions {

void Parse(CLI::App& app, const std::vector<std::wstring>& arguments) try {
    cli::Parse(app, arguments);
} catch (const CLI::ParseError& error) {
    if (cli::Complaint(app, error)) throw UsageError(cli::Description(error));
    throw Ended();
}

}  // namespace companions
