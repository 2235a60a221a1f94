// What is left in the send folder: of versions of a packet that newer ones were to replace, and by encoders
// that failed.
#pragma once

#include <string>
#include <string_view>

#include "base/FolderTree.h"

/// Removes a version that has been replaced, or puts one back that has not. What cannot be moved now, also
/// because a newer one has its place, is with the next run.
void SettleVersion(bool replaced, const std::wstring& path, const std::wstring& place);

/// The same for a file of a folder that is the backup of a difference; leaves any other. The encoder keeps
/// the version that it replaces, which must not travel beside the new one. Without a new one it is the
/// packet. extension: of differences.
void SettleBackup(const std::wstring& folder, const base::TreeFile& file, std::wstring_view extension);

/// Removes the file that an encoder's program has made, and throws, where there is nothing in it: such a
/// program has failed, by whatever exit code.
void RefuseEmptyFile(const std::wstring& encoded);
