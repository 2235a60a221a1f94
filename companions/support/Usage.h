// How a companion program takes its command line.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "cli/Arguments.h"

namespace companions {

/// The command line is wrong.
class UsageError : public base::Error {
public:
    explicit UsageError(std::wstring description, base::Where where = base::Where::current())
        : Error(base::kInvalidArgument, std::move(description), where) {}
};

/// Thrown when there is nothing more to do: help was asked for, and was printed.
struct Ended {};

/// Throws Ended after --help and --version, and UsageError.
void Parse(CLI::App& app, const std::vector<std::wstring>& arguments);

}  // namespace companions
