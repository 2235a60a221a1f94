// See Arguments.h.
#include "companions/support/Arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <ranges>
#include <sstream>

#include "base/Console.h"
#include "base/Utf8.h"
#include "companions/support/Program.h"

namespace companions {

namespace {

/// Prints what was asked for; wrong usage is thrown.
[[noreturn]] void End(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream ignored;
    if (app.exit(error, out, ignored) != 0) throw UsageError(base::FromUtf8(error.what()));
    std::string text = out.str();
    while (text.ends_with('\n'))
        text.pop_back();
    Console::Line(base::FromUtf8(text));
    throw Ended();
}

}  // namespace

void SetUp(CLI::App& app) {
    app.set_version_flag("--version", std::string(kProgram.name) + " " ZN_VERSION " (" ZN_BITS "-bit)");
    // A path may begin with a slash.
    app.allow_windows_style_options(false);
}

CLI::Option& AddPath(CLI::App& app, const std::string& name, std::wstring& path,
                     const std::string& description) {
    return *app.add_option_function<std::string>(
        name, [&path](const std::string& text) { path = base::FromUtf8(text); }, description);
}

CLI::Option& AddPaths(CLI::App& app, const std::string& name, std::vector<std::wstring>& paths,
                      const std::string& description) {
    const auto convert = [&paths](const std::vector<std::string>& texts) {
        std::ranges::transform(texts, std::back_inserter(paths), &base::FromUtf8);
    };
    return *app.add_option_function<std::vector<std::string>>(name, convert, description);
}

void Parse(CLI::App& app, const std::vector<std::wstring>& arguments) {
    // The parser takes its arguments from the end of the list.
    std::vector<std::string> reversed;
    std::ranges::transform(std::views::reverse(arguments), std::back_inserter(reversed), &base::ToUtf8);
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& error) {
        End(app, error);
    }
}

}  // namespace companions
