// See Arguments.h.
#include "cli/Arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>

#include "base/Utf8.h"

namespace cli {

namespace {

/// The parser takes "[a,b]" for a list of two texts, but such a file may be meant. Behind this character,
/// which no file name can have, brackets mean nothing to it.
constexpr char kLiteral = '\x1F';

std::string ToParser(const std::wstring& argument) {
    std::string text = base::ToUtf8(argument);
    return text.starts_with('[') && text.ends_with(']') ? kLiteral + text : text;
}

std::string WhyNoName(const std::string& text) { return text.empty() ? "the text is empty" : ""; }

}  // namespace

void SetUp(CLI::App& app, const std::string& program) {
    AddVersion(app, program);
    app.allow_windows_style_options(false);
}

void AddVersion(CLI::App& app, const std::string& program) {
    app.set_version_flag("--version", program + " " ZN_VERSION " (" ZN_BITS "-bit)");
}

void AddFooter(CLI::App& app, const std::string& text) {
    app.footer(text + (text.empty() ? "" : "\n") +
               "Output that is redirected is UTF-8 text with CR LF at the ends of lines.");
}

CLI::Option& AddText(CLI::App& app, const std::string& name, std::wstring& value,
                     const std::string& description) {
    const auto take = [&value](const std::string& text) { value = FromParser(text); };
    return *app.add_option_function<std::string>(name, take, description);
}

CLI::Option& AddName(CLI::App& app, const std::string& name, std::wstring& value,
                     const std::string& description) {
    return *AddText(app, name, value, description).check(&WhyNoName);
}

CLI::Option& AddTexts(CLI::App& app, const std::string& name, std::vector<std::wstring>& values,
                      const std::string& description) {
    const auto take = [&values](const std::vector<std::string>& texts) {
        std::ranges::transform(texts, std::back_inserter(values), &FromParser);
    };
    return *app.add_option_function<std::vector<std::string>>(name, take, description);
}

void Parse(CLI::App& app, const std::vector<std::wstring>& arguments) {
    // The parser takes its arguments from the end of the list.
    std::vector<std::string> reversed;
    std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(reversed), &ToParser);
    app.parse(reversed);
}

std::wstring FromParser(const std::string& text) {
    std::string unmarked = text;
    std::erase(unmarked, kLiteral);
    return base::FromUtf8(unmarked);
}

std::wstring Description(const CLI::ParseError& error) { return FromParser(error.what()); }

}  // namespace cli
