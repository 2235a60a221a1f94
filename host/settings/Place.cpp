// See Place.h.
#include "host/settings/Place.h"

#include <windows.h>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Handle.h"
#include "base/Path.h"
#include "base/Text.h"

namespace {

/// A server may number the files of each of its disks alike: the time of creation tells those apart.
std::wstring TextOf(const BY_HANDLE_FILE_INFORMATION& file) {
    if (file.nFileIndexHigh == 0 && file.nFileIndexLow == 0) return {};  // of systems that number none
    std::wstring text;
    for (const DWORD part : {file.dwVolumeSerialNumber, file.nFileIndexHigh, file.nFileIndexLow,
                             file.ftCreationTime.dwHighDateTime, file.ftCreationTime.dwLowDateTime})
        text += std::to_wstring(part) + L' ';
    return text;
}

bool IsMissing(DWORD error) { return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND; }

}  // namespace

const std::wstring& Places::Of(const std::wstring& path) {
    const auto known = m_known.find(path);
    return known != m_known.end() ? known->second : m_known.emplace(path, Ask(path)).first->second;
}

std::wstring Places::Ask(const std::wstring& path) {
    const base::FileHandle handle(CreateFileW(FileSystem::Extended(path).c_str(), 0, base::kShareAll, nullptr,
                                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (handle) {
        BY_HANDLE_FILE_INFORMATION file;
        return GetFileInformationByHandle(handle.Get(), &file) ? TextOf(file) : std::wstring();
    }
    const bool isMissing = IsMissing(GetLastError());
    const std::wstring parent = Path::ParentFolder(path);
    if (!isMissing || parent.empty() || parent == path) return {};
    const std::wstring& place = Of(parent);
    return place.empty() ? place : Path::Join(place, base::Upper(Path::FileName(path)));
}

std::vector<std::wstring> Places::OnTheWayTo(const std::wstring& path) {
    std::vector<std::wstring> places;
    for (std::wstring at = path;;) {
        const std::wstring& place = Of(at);
        // A share that does not answer is not asked again.
        if (place.empty()) return places;
        places.push_back(place);
        const std::wstring parent = Path::ParentFolder(at);
        if (parent.empty() || parent == at) return places;
        at = parent;
    }
}

bool AreOnePlace(const std::wstring& one, const std::wstring& other) {
    Places places;
    const std::wstring& place = places.Of(one);
    return !place.empty() && place == places.Of(other);
}
