// The module that this code is linked into, and the program that runs.
#pragma once

#include <windows.h>

#include <string>

namespace base {

HINSTANCE ModuleHandle() noexcept;
/// Keeps the module loaded until the process ends.
void PinModule() noexcept;
/// Path of the module. Throws a failure.
std::wstring ModulePath();
/// Path of the running program. Throws a failure.
std::wstring ProgramPath();

}  // namespace base
