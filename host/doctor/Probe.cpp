// See Probe.h.
#include "host/doctor/Probe.h"

#include "base/Arrival.h"
#include "base/FileSystem.h"
#include "base/Path.h"

base::FileTime ProbeFolder(const std::wstring& folder) {
    base::File file = FileSystem::CreateArrival(Path::Join(folder, L"probe"));
    file.Write(std::string_view("znhost"));
    file.Flush();
    return file.ModificationTime();
}

std::optional<std::uint64_t> FreeSpace(const std::wstring& path) {
    std::wstring folder = path;
    while (!FileSystem::FolderExists(folder)) {
        const std::wstring parent = Path::ParentFolder(folder);
        if (parent.empty() || parent == folder) return std::nullopt;
        folder = parent;
    }
    return FileSystem::FreeSpace(folder);
}
