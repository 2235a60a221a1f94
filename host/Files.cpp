#include "host/Files.h"

#include "com/Error.h"
#include "common/FileSystem.h"

namespace Files {

namespace {

using FileSystem::Extended;

bool HasDrive(std::wstring_view path) { return path.size() > 1 && path[1] == L':'; }
bool IsRooted(std::wstring_view path) { return path.starts_with(L'\\') || path.starts_with(L'/'); }
bool IsShare(std::wstring_view path) { return IsRooted(path) && IsRooted(path.substr(1)); }

std::wstring Absolute(const std::wstring& base, const std::wstring& path) {
    if (HasDrive(path) || IsShare(path)) return path;
    if (IsRooted(path) && HasDrive(base)) return base.substr(0, 2) + path;
    return Join(base, path);
}

bool IsLink(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(Extended(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

void RemoveFolder(const std::wstring& folder) {
    if (!RemoveDirectoryW(Extended(folder).c_str())) com::ThrowWin32(GetLastError(), folder);
}

void AppendSubFolders(const std::wstring& folder, const std::wstring& subFolder,
                      std::vector<std::wstring>& all) {
    all.push_back(subFolder);
    for (const std::wstring& name : FileSystem::List(Join(folder, subFolder)).folders)
        AppendSubFolders(folder, Join(subFolder, name), all);
}

}  // namespace

std::wstring Entry::Relative() const { return Join(subFolder, name); }

std::wstring Join(std::wstring_view folder, std::wstring_view name) {
    std::wstring path(folder);
    if (!path.empty() && !name.empty() && path.back() != L'\\') path += L'\\';
    return path.append(name);
}

std::wstring FullPath(const std::wstring& base, const std::wstring& path) {
    std::wstring full = FileSystem::FullPath(Absolute(base, path));
    constexpr size_t kRoot = 3;
    while (full.size() > kRoot && full.back() == L'\\')
        full.pop_back();
    return full;
}

std::wstring CurrentFolder() { return FileSystem::FullPath(L"."); }

std::wstring ProgramFolder() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return ParentFolder(path);
}

std::wstring TemporaryFolder() {
    std::wstring path(MAX_PATH + 1, L'\0');
    path.resize(GetTempPathW(static_cast<DWORD>(path.size()), path.data()));
    if (path.empty()) com::ThrowWin32(GetLastError(), L"the folder for temporary files");
    return path;
}

std::uint64_t Size(const std::wstring& path) try {
    return FileSystem::FileSize(path);
} catch (const com::Error&) {
    // Whoever waits for a packet may have taken it already.
    return 0;
}

std::vector<std::wstring> SubFolders(const std::wstring& folder) {
    std::vector<std::wstring> all;
    if (FolderExists(folder)) AppendSubFolders(folder, L"", all);
    return all;
}

std::vector<Entry> FilesIn(const std::wstring& folder, const std::wstring& subFolder) {
    std::vector<Entry> files;
    const std::wstring path = Join(folder, subFolder);
    if (!FolderExists(path)) return files;
    for (FileSystem::FileEntry& file : FileSystem::List(path).files)
        files.push_back({subFolder, std::move(file.name), file.size});
    return files;
}

std::vector<Entry> Tree(const std::wstring& folder) {
    std::vector<Entry> all;
    for (const std::wstring& subFolder : SubFolders(folder))
        for (Entry& file : FilesIn(folder, subFolder))
            all.push_back(std::move(file));
    return all;
}

void CreateFolders(const std::wstring& path) {
    if (FolderExists(path)) return;
    const std::wstring parent = ParentFolder(path);
    if (!parent.empty() && parent.back() != L':') CreateFolders(parent);
    if (CreateDirectoryW(Extended(path).c_str(), nullptr)) return;
    const DWORD error = GetLastError();
    if (!FolderExists(path)) com::ThrowWin32(error, path);
}

void Delete(const std::wstring& path) { FileSystem::DeleteFile(path); }

void DeleteTree(const std::wstring& folder) {
    const FileSystem::Listing listing = FileSystem::List(folder);
    for (const FileSystem::FileEntry& file : listing.files)
        Delete(Join(folder, file.name));
    for (const std::wstring& name : listing.folders) {
        const std::wstring path = Join(folder, name);
        // What a link leads to is not part of the tree.
        IsLink(path) ? RemoveFolder(path) : DeleteTree(path);
    }
    RemoveFolder(folder);
}

Handle Open(const std::wstring& path, DWORD access, DWORD disposition) {
    return FileSystem::Open(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, disposition);
}

std::string Read(const std::wstring& path) {
    const Handle file = Open(path, GENERIC_READ, OPEN_EXISTING);
    std::string content(static_cast<size_t>(FileSystem::FileSize(path)), '\0');
    DWORD length = 0;
    if (!ReadFile(file.get(), content.data(), static_cast<DWORD>(content.size()), &length, nullptr))
        com::ThrowWin32(GetLastError(), path);
    content.resize(length);
    return content;
}

void WriteNew(const std::wstring& path, std::string_view content) {
    const Handle file = Open(path, GENERIC_WRITE, CREATE_NEW);
    FileSystem::Write(file.get(), path, content);
}

void CheckAppend(const std::wstring& path) { FileSystem::Append(path, {}); }

}  // namespace Files
