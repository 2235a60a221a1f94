// Who may use a file.
#pragma once

#include <string>

namespace FileSystem {

/// Gives a file that was moved the rights that a file made in its folder has. A move within a volume keeps
/// those of the folder that it came from: who may use the files of the one folder could not use it in the
/// other. A failure shows in nothing else. formerFolder: where it came from.
void TakeRightsOfFolder(const std::wstring& path, const std::wstring& formerFolder) noexcept;

}  // namespace FileSystem
