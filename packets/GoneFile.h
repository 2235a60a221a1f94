// Files that wait to be sent, and that somebody else takes.
#pragma once

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "base/Path.h"
#include "packets/PassingFile.h"

/// Whether somebody else has taken a file. With its whole folder, or one above, it has not: a disk or a share
/// may be away.
inline bool HasGone(const std::wstring& path, const std::wstring& folder) {
    return !FileSystem::FileIsThere(path) && FileSystem::FolderIsThere(folder);
}

/// What a transport shows of such a file. By that a host knows that it was not sent.
inline std::wstring TellOfGone(const std::wstring& path) {
    return L"Somebody else took the file " + path + L" before it was sent.";
}

/// What waits below a folder when its transfer begins, and whose turn has not come yet. A transfer lists a
/// sub-folder when it comes to it, and a packet that is gone by then would never be missed.
class FilesToCome {
public:
    explicit FilesToCome(const std::wstring& folder) : m_folder(folder) {
        for (const base::TreeFile& file : base::FilesBelow(folder, [](const auto&, const auto&) {}))
            if (!IsPassingFile(file.name)) m_paths.insert(Path::Join(folder, file.RelativePath()));
    }

    /// These are moved next.
    void HaveCome(const std::wstring& folder, const FileSystem::Listing& listing) {
        for (const FileSystem::FileEntry& file : listing.files)
            m_paths.erase(Path::Join(folder, file.name));
    }

    /// What somebody else took before.
    std::vector<std::wstring> Gone() const {
        std::vector<std::wstring> gone;
        std::ranges::copy_if(m_paths, std::back_inserter(gone),
                             [&](const std::wstring& path) { return HasGone(path, m_folder); });
        return gone;
    }

private:
    std::wstring m_folder;
    std::set<std::wstring> m_paths;
};
