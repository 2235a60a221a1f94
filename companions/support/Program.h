// A program: how it starts, and how it ends when it fails.
#pragma once

#include <string>
#include <vector>

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
    void (*run)(const std::vector<std::wstring>& arguments);  ///< without the program's own name
};
extern const Program kProgram;

}  // namespace companions
