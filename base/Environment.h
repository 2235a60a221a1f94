// What a process is given: its environment variables and folders.
#pragma once

#include <string>

namespace base {

/// Empty for a variable that is not set.
std::wstring EnvironmentVariable(const wchar_t* name);
std::wstring CurrentFolder();
/// The user's folder for temporary files. Throws a failure.
std::wstring TemporaryFolder();

}  // namespace base
