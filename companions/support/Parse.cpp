#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

#include "companions/support/Error.h"
#include "companions/support/Program.h"

namespace companions {

namespace {

/// Prints what was asked for; wrong usage is thrown.
[[noreturn]] void End(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream ignored;
    if (app.exit(error, out, ignored) != 0) throw UsageError(error.what());
    std::string text = out.str();
    while (text.ends_with('\n'))
        text.pop_back();
    Print(text);
    throw Ended();
}

}  // namespace

void Parse(CLI::App& app, const std::vector<std::string>& arguments) {
    // A path may begin with a slash.
    app.allow_windows_style_options(false);
    // The parser takes its arguments from the end of the list.
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& error) {
        End(app, error);
    }
}

}  // namespace companions
