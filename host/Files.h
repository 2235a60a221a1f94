// Files and folders of the host. Paths of any length; every failure is a com::Error that names the path.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/FileSystem.h"
#include "common/Path.h"

namespace Files {

/// A file below some folder.
struct Entry {
    std::wstring subFolder;  ///< relative to that folder; empty when the file lies directly in it
    std::wstring name;
    std::uint64_t size = 0;  ///< bytes

    /// Path relative to the folder.
    std::wstring Relative() const;
};

std::wstring Join(std::wstring_view folder, std::wstring_view name);
using Path::FileName;
using Path::ParentFolder;
/// An absolute path; a relative one is taken from base.
std::wstring FullPath(const std::wstring& base, const std::wstring& path);
std::wstring CurrentFolder();
/// Folder of the running program.
std::wstring ProgramFolder();
std::wstring TemporaryFolder();

using FileSystem::FileExists;
using FileSystem::FolderExists;
/// Bytes; 0 when the file is not there any more.
std::uint64_t Size(const std::wstring& path);

/// The folder itself ("") and all folders below it, relative to it; empty when it does not exist.
std::vector<std::wstring> SubFolders(const std::wstring& folder);
/// All files directly in folder\subFolder; none when that does not exist.
std::vector<Entry> FilesIn(const std::wstring& folder, const std::wstring& subFolder);
/// All files in a folder and below it; none when it does not exist.
std::vector<Entry> Tree(const std::wstring& folder);

void CreateFolders(const std::wstring& path);
using FileSystem::MoveReplacing;
void Delete(const std::wstring& path);
void DeleteTree(const std::wstring& folder);

using FileSystem::Handle;

/// As CreateFile; others may read and write the file meanwhile.
Handle Open(const std::wstring& path, DWORD access, DWORD disposition);
std::string Read(const std::wstring& path);
/// Fails when the file exists.
void WriteNew(const std::wstring& path, std::string_view content);
/// Fails when nothing can be appended to the file; creates it when it does not exist.
void CheckAppend(const std::wstring& path);

}  // namespace Files
