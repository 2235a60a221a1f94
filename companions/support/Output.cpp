// See Output.h.
#include "companions/support/Output.h"

#include <windows.h>

#include <optional>

#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Error.h"

namespace companions {

namespace {

/// Bytes that this user may still write; nothing where the file system does not tell.
std::optional<std::uint64_t> FreeSpace(const std::wstring& folder) {
    const std::wstring path = folder.empty() ? L"." : folder;
    ULARGE_INTEGER free;
    if (!GetDiskFreeSpaceExW(FileSystem::Extended(Path::WithSeparator(path)).c_str(), &free, nullptr,
                             nullptr))
        return std::nullopt;
    return free.QuadPart;
}

}  // namespace

void CheckRoom(const std::wstring& file, std::uint64_t size, const std::wstring& folder) {
    const std::optional<std::uint64_t> free = FreeSpace(folder);
    if (free && size > *free)
        throw base::Error(HRESULT_FROM_WIN32(ERROR_DISK_FULL),
                          file + L" needs " + std::to_wstring(size) + L" bytes in " +
                              (folder.empty() ? L"the current folder" : folder) + L", where " +
                              std::to_wstring(*free) + L" are free; make room on that volume, and try again");
}

}  // namespace companions
