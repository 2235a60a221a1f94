// The local side of a transfer: what tells it from all others on the server, and keeps a second one away.
#pragma once

#include <string>
#include <vector>

#include "base/File.h"

/// Beside each local folder lies one that keeps the folder's name on the server, "<folder>.https". Whoever
/// has the file there open is the only one who transfers the folder: of two, one would delete what the other
/// has just claimed.
class DavInstallation {
public:
    /// Throws when another transfer of the folder goes on, and when nothing can be kept beside it.
    explicit DavInstallation(const std::wstring& localFolder);

    /// The same for each transfer of the folder from this computer, and of no other: a copy of the folder in
    /// another place, and a computer that shares it, have names of their own.
    const std::wstring& Name() const noexcept { return m_name; }
    /// Names that came with the folder: those that it had here before the computer was renamed or the folder
    /// moved, and those of the places that it is a copy of.
    const std::vector<std::wstring>& OtherNames() const noexcept { return m_otherNames; }
    /// Where what has not yet come in full is kept.
    const std::wstring& Folder() const noexcept { return m_folder; }

private:
    std::wstring m_folder;
    base::File m_file;
    std::wstring m_name;
    std::vector<std::wstring> m_otherNames;
};
