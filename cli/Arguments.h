// What the command lines of all programs have in common. CLI11, which reads them, speaks UTF-8. Portable.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
class ParseError;
}  // namespace CLI

namespace cli {

/// Gives a parser what all programs have: --version, and paths that may begin with a slash. Subcommands that
/// are added later take the paths over, and want a version of their own.
void SetUp(CLI::App& app, const std::string& program);
void AddVersion(CLI::App& app, const std::string& program);
/// What --help ends with: the program's own words, and how output arrives elsewhere than on a console.
void AddFooter(CLI::App& app, const std::string& text);
/// Adds an option or positional whose value is text.
CLI::Option& AddText(CLI::App& app, const std::string& name, std::wstring& value,
                     const std::string& description);
/// The same for one that names something, such as a file or folder: an empty name, as of a variable of a
/// script that was never set, is refused, and taken for no default.
CLI::Option& AddName(CLI::App& app, const std::string& name, std::wstring& value,
                     const std::string& description);
/// Adds a positional that names one file or several.
CLI::Option& AddTexts(CLI::App& app, const std::string& name, std::vector<std::wstring>& values,
                      const std::string& description);

/// arguments: without the program's own name. Throws CLI::ParseError, after --help and --version, too.
void Parse(CLI::App& app, const std::vector<std::wstring>& arguments);
/// Text of the parser as it was given.
std::wstring FromParser(const std::string& text);
/// What is wrong, without how to get help.
std::wstring Description(const CLI::ParseError& error);

}  // namespace cli
