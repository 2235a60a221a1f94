#include "host/Archive.h"

#include "base/FileSystem.h"
#include "base/FolderTree.h"
#include "base/Path.h"

void LeaveOutbox(const std::wstring& outbox, const base::TreeFile& file, const std::wstring& archive) {
    const std::wstring source = Path::Join(outbox, file.RelativePath());
    if (archive.empty()) return FileSystem::DeleteFile(source);
    const std::wstring folder = Path::Join(archive, file.subFolder);
    FileSystem::CreateFolders(folder);
    FileSystem::MoveReplacing(source, Path::Join(folder, file.name));
}
