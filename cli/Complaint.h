// What a program tells of a command line that it does not run.
#pragma once

#include <optional>
#include <string>

#include "cli/Arguments.h"

namespace cli {

/// Prints the help or version that was asked for; otherwise returns what is wrong, and how to get help.
std::optional<std::wstring> Complaint(const CLI::App& app, const CLI::ParseError& error);

}  // namespace cli
