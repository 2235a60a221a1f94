// See Probe.h.
#include "host/doctor/Probe.h"

#include "base/Arrival.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/RollBack.h"

base::FileTime ProbeFolder(const std::wstring& folder) {
    base::File file = FileSystem::CreateArrival(Path::Join(folder, L"probe"));
    file.Write(std::string_view("znhost"));
    file.Flush();
    return file.ModificationTime();
}

namespace {

/// The folder of a path, or the nearest one above it that is there; empty without any.
std::wstring NearestFolder(std::wstring path) {
    while (!FileSystem::FolderExists(path)) {
        const std::wstring parent = Path::ParentFolder(path);
        if (parent == path) return {};
        path = parent;
    }
    return path;
}

}  // namespace

void ProbeMissingFolder(const std::wstring& folder) {
    const base::RollBack remove([&, there = NearestFolder(folder)] {
        for (std::wstring made = folder; !there.empty() && made != there; made = Path::ParentFolder(made))
            RemoveDirectoryW(FileSystem::Extended(made).c_str());
    });
    FileSystem::CreateFolders(folder);
    ProbeFolder(folder);
}

std::optional<std::uint64_t> FreeSpace(const std::wstring& path) {
    const std::wstring folder = NearestFolder(path);
    return folder.empty() ? std::nullopt : FileSystem::FreeSpace(folder);
}
