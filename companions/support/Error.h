// Failures that the user is told of, in UTF-8.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace companions {

/// what(): the file, the reason and, where there is one, the way out.
class Error : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The command line is wrong.
class UsageError : public Error {
    using Error::Error;
};

/// A path as messages show it.
std::string Shown(const std::filesystem::path& path);

/// Throws "cannot VERB PATH: REASON; WAY OUT".
/// kind: tells the way out; a default-constructed one when there is none.
[[noreturn]] void ThrowFileError(std::string_view verb, const std::filesystem::path& path,
                                 const std::string& reason, std::errc kind);

}  // namespace companions
