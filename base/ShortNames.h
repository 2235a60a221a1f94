// The second names (8.3) under which Windows finds files as well.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "base/Error.h"

namespace FileSystem {

/// Throws where a path leads to a file by its short name: to move or replace what is there would cost a file
/// of another name. For paths where something is: the look for what is not there can take long.
void RefuseShortName(const std::wstring& path, base::Where where = base::Where::current());

/// Has rename put something in the place of any file of the destination's name, but for RefuseShortName.
/// rename: tells in GetLastError why it failed. What it would replace is looked at only when a first try that
/// replaces nothing fails. Returns the last error.
DWORD RenameReplacing(const std::wstring& destination, const std::function<bool(bool replaces)>& rename);

}  // namespace FileSystem
