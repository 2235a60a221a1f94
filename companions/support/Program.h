// What the programs share around their work: arguments, messages, exit codes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace companions {

enum ExitCode : int {
    kDone = 0,
    kFailed = 1,    ///< a file could not be read or written, or its content is damaged
    kBadUsage = 2,  ///< the command line is wrong
};

/// Each program defines its own. Failures leave run as exceptions; they are printed after the name.
/// Ctrl+C ends a program as it is: the system removes the files that are not finished.
struct Program {
    const char* name;
    void (*run)(const std::vector<std::string>& arguments);  ///< UTF-8, without the program's own name
};
extern const Program kProgram;

/// Thrown when there is nothing more to do: help was asked for, and was printed.
struct Ended {};

/// Reads the command line. Throws Ended after --help and --version, and UsageError.
void Parse(CLI::App& app, const std::vector<std::string>& arguments);

/// The path that an argument names.
std::filesystem::path ToPath(const std::string& argument);

void Print(const std::string& line);

}  // namespace companions
