// The files of a folder and of those below it, by their paths relative to it.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/FileSystem.h"
#include "base/LocalNames.h"

namespace base {

/// A file below some folder.
struct TreeFile {
    std::wstring subFolder;  ///< relative to that folder; empty when the file lies directly in it
    std::wstring name;
    std::uint64_t size = 0;       ///< bytes
    std::uint64_t lastWrite = 0;  ///< as in FILETIME, where a folder was listed

    std::wstring RelativePath() const;
    /// As listed.
    FileSystem::FileVersion Version() const { return {size, lastWrite}; }
};

/// The names of files and folders.
LocalNames NamesOf(const FileSystem::Listing& listing);
/// The relative paths of some files.
LocalNames PathsOf(const std::vector<TreeFile>& files);

/// Whether a path is that of a folder, or of something below it, by their texts in any letter case.
bool LiesIn(const std::wstring& folder, const std::wstring& path);

/// Told of a folder, by its relative path, that cannot be listed, and of why.
using Unlisted = std::function<void(const std::wstring& subFolder, const std::wstring& reason)>;

/// What becomes of links to folders. What they lead to belongs elsewhere, as a rule; what is received through
/// one into another place is a packet all the same. One within another one is left.
enum class Links { Left, Followed };

/// The folder itself ("") and all folders below it, relative to it; none when it does not exist. Throws a
/// failure.
std::vector<std::wstring> SubFolders(const std::wstring& folder, Links links = Links::Left);
/// All files directly in folder\subFolder; none when that does not exist. Throws a failure.
std::vector<TreeFile> FilesIn(const std::wstring& folder, const std::wstring& subFolder);
/// All files in a folder and below it; none when it does not exist. Throws a failure.
std::vector<TreeFile> FilesBelow(const std::wstring& folder);
/// The same, where a folder that cannot be listed leaves the others.
std::vector<TreeFile> FilesBelow(const std::wstring& folder, const Unlisted& unlisted,
                                 Links links = Links::Left);

/// What the files of a folder and below it were at a moment.
class TreeSnapshot {
public:
    /// A folder that cannot be listed holds nothing.
    explicit TreeSnapshot(const std::wstring& folder);

    /// Whether a file is one of them still.
    bool Holds(const TreeFile& file) const;

private:
    std::wstring m_folder;
    std::map<std::wstring, std::optional<FileSystem::FileVersion>> m_files;  // by relative path
};

/// Moves a file in the place of any other of the destination's name; folders above that are created. Throws a
/// failure.
void MoveIntoTree(const std::wstring& source, const std::wstring& destination);
/// Moves a file back to where it was taken from, folders above included. Throws a failure, also where there
/// is another one now.
void PutBack(const std::wstring& source, const std::wstring& destination);
/// The same, where a failure shows in what still lies at the source.
void TryPutBack(const std::wstring& source, const std::wstring& destination);
/// Removes the folder and those below it, as far as there is no file in them.
void RemoveEmptyFolders(const std::wstring& folder);

}  // namespace base
