// See FolderTree.h.
#include "base/FolderTree.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "base/FileMoves.h"
#include "base/Path.h"
#include "base/Text.h"

namespace base {

namespace {

/// Lists a folder and those below it, each once, and hands each listing over; none when it does not exist.
template <class Take>
void Walk(const std::wstring& folder, const std::wstring& subFolder, Links links, const Unlisted& unlisted,
          const Take& take) {
    FileSystem::Listing listing;
    const std::wstring path = Path::Join(folder, subFolder);
    try {
        if (subFolder.empty() && !FileSystem::FolderIsThere(path)) return;
        FileSystem::List(path, listing);
    } catch (const Error& error) {
        if (!unlisted) throw;
        unlisted(subFolder, error.failure().description);
    }
    take(subFolder, listing.files);
    for (const std::wstring& name : listing.folders) {
        const bool isLink = FileSystem::IsLink(Path::Join(path, name));
        if (isLink && links == Links::Left) continue;
        // One in another one could lead back to where it began.
        Walk(folder, Path::Join(subFolder, name), isLink ? Links::Left : links, unlisted, take);
    }
}

}  // namespace

std::wstring TreeFile::RelativePath() const { return Path::Join(subFolder, name); }

LocalNames NamesOf(const FileSystem::Listing& listing) {
    LocalNames names;
    for (const FileSystem::FileEntry& file : listing.files)
        names.Add(file.name);
    for (const std::wstring& folder : listing.folders)
        names.Add(folder);
    return names;
}

LocalNames PathsOf(const std::vector<TreeFile>& files) {
    LocalNames paths;
    for (const TreeFile& file : files)
        paths.Add(file.RelativePath());
    return paths;
}

bool LiesIn(const std::wstring& folder, const std::wstring& path) {
    return Upper(Path::WithSeparator(path)).starts_with(Upper(Path::WithSeparator(folder)));
}

std::vector<std::wstring> SubFolders(const std::wstring& folder, Links links) {
    std::vector<std::wstring> all;
    Walk(folder, L"", links, {},
         [&](const std::wstring& subFolder, const auto&) { all.push_back(subFolder); });
    return all;
}

std::vector<TreeFile> FilesIn(const std::wstring& folder, const std::wstring& subFolder) {
    std::vector<TreeFile> files;
    const std::wstring path = Path::Join(folder, subFolder);
    if (!FileSystem::FolderIsThere(path)) return files;
    for (FileSystem::FileEntry& file : FileSystem::List(path).files)
        files.push_back({subFolder, std::move(file.name), file.size, file.lastWrite});
    return files;
}

std::vector<TreeFile> FilesBelow(const std::wstring& folder) { return FilesBelow(folder, {}); }

std::vector<TreeFile> FilesBelow(const std::wstring& folder, const Unlisted& unlisted, Links links) {
    std::vector<TreeFile> all;
    Walk(folder, L"", links, unlisted, [&](const std::wstring& subFolder, const auto& files) {
        for (const FileSystem::FileEntry& file : files)
            all.push_back({subFolder, file.name, file.size, file.lastWrite});
    });
    return all;
}

TreeSnapshot::TreeSnapshot(const std::wstring& folder) : m_folder(folder) {
    for (const TreeFile& file : FilesBelow(folder, [](const auto&, const auto&) {}))
        m_files[file.RelativePath()] = FileSystem::VersionOf(Path::Join(folder, file.RelativePath()));
}

bool TreeSnapshot::Holds(const TreeFile& file) const {
    const auto found = m_files.find(file.RelativePath());
    return found != m_files.end() &&
           found->second == FileSystem::VersionOf(Path::Join(m_folder, file.RelativePath()));
}

void MoveIntoTree(const std::wstring& source, const std::wstring& destination) {
    FileSystem::CreateFolders(Path::ParentFolder(destination));
    FileSystem::MoveReplacing(source, destination);
}

void PutBack(const std::wstring& source, const std::wstring& destination) {
    FileSystem::CreateFolders(Path::ParentFolder(destination));
    FileSystem::MoveFile(source, destination);
}

void TryPutBack(const std::wstring& source, const std::wstring& destination) try {
    PutBack(source, destination);
} catch (const Error&) {
    return;
}

void RemoveEmptyFolders(const std::wstring& folder) {
    std::vector<std::wstring> deepestFirst = SubFolders(folder);
    std::ranges::reverse(deepestFirst);
    for (const std::wstring& subFolder : deepestFirst)
        RemoveDirectoryW(FileSystem::Extended(Path::Join(folder, subFolder)).c_str());
}

}  // namespace base
