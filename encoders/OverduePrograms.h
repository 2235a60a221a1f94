// Programs that were left running beyond their time: what one of them may still write is no other's file.
#pragma once

#include <windows.h>

#include <string>

#include "common/clsShell.h"

/// Of all threads of this process.
namespace OverduePrograms {

/// file: what the program may still write. It ends with this process at the latest.
void Add(const std::wstring& file, RunningProgram program);

/// Waits for those that may write a file, as EndsProcessingMessages. False when one still runs.
bool Await(const std::wstring& file, LONG seconds);

}  // namespace OverduePrograms
