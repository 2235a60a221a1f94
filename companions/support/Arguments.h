// The command line of a program, read by CLI11, which speaks UTF-8.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace companions {

/// The command line is wrong.
class UsageError : public base::Error {
public:
    explicit UsageError(std::wstring description, base::Where where = base::Where::current())
        : Error(base::kInvalidArgument, std::move(description), where) {}
};

/// Thrown when there is nothing more to do: help was asked for, and was printed.
struct Ended {};

/// Gives a parser what all programs have. Subcommands take it over when they are added later.
void SetUp(CLI::App& app);
/// Adds an option or positional that names a file or folder.
CLI::Option& AddPath(CLI::App& app, const std::string& name, std::wstring& path,
                     const std::string& description);
/// Adds a positional that names one file or several.
CLI::Option& AddPaths(CLI::App& app, const std::string& name, std::vector<std::wstring>& paths,
                      const std::string& description);
/// Throws Ended after --help and --version, and UsageError.
void Parse(CLI::App& app, const std::vector<std::wstring>& arguments);

}  // namespace companions
