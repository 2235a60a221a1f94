// Files that wait to be sent, and that somebody else takes.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
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

/// What waits in the sub-folders when a transfer begins. It lists each of them when its turn comes, and would
/// never miss a packet that is gone by then.
class FilesToCome {
public:
    explicit FilesToCome(const std::wstring& folder) : m_folder(folder) {
        for (const base::TreeFile& file : base::FilesBelow(folder, [](const auto&, const auto&) {}))
            if (!file.subFolder.empty() && !IsPassingFile(file.name))
                m_names[Path::Join(folder, file.subFolder)].push_back(file.name);
    }

    /// Of that folder these are moved next.
    void HaveCome(const std::wstring& folder, const FileSystem::Listing& listing) {
        const auto waiting = m_names.extract(folder);
        if (waiting.empty()) return;
        std::set<std::wstring_view> listed;
        for (const FileSystem::FileEntry& file : listing.files)
            listed.insert(file.name);
        for (const std::wstring& name : waiting.mapped())
            if (!listed.contains(name)) NoteIfGone(folder, name);
    }

    /// What somebody else took before its turn, once all is over.
    const std::vector<std::wstring>& Gone() {
        for (const auto& [folder, names] : std::exchange(m_names, {}))
            for (const std::wstring& name : names)
                NoteIfGone(folder, name);
        return m_gone;
    }

private:
    void NoteIfGone(const std::wstring& folder, const std::wstring& name) {
        std::wstring path = Path::Join(folder, name);
        if (HasGone(path, m_folder)) m_gone.push_back(std::move(path));
    }

    std::wstring m_folder;
    std::map<std::wstring, std::vector<std::wstring>> m_names;  ///< by their folders
    std::vector<std::wstring> m_gone;
};
