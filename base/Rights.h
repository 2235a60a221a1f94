// Who may use a file.
#pragma once

#include <string>

namespace FileSystem {

/// Gives files that were moved the rights that a file made in their folder has. A move within a volume keeps
/// those of the folder that it came from: who may use the files of the one folder could not use it in the
/// other. A failure shows in nothing else. Many files move between the same two folders, so that the rights
/// of these are read once, for as long as the object is there.
class RightsOfFolders {
public:
    /// formerFolder: where the file came from.
    void GiveTo(const std::wstring& path, const std::wstring& formerFolder) noexcept;

private:
    bool Differ(const std::wstring& folder, const std::wstring& formerFolder);

    // The two that were compared last.
    std::wstring m_folder;
    std::wstring m_formerFolder;
    bool m_differ = false;
};

}  // namespace FileSystem
