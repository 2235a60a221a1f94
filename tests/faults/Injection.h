// Puts the DLL that counts calls into a process.
#pragma once

#include <windows.h>

namespace faults {

/// process: has not begun to run. module: any of the folder that holds the DLL. False when it was not loaded.
bool Inject(HANDLE process, HMODULE module);

}  // namespace faults
