// See Output.h.
#include "companions/support/Output.h"

#include <windows.h>

#include <optional>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/SystemError.h"
#include "base/Text.h"

namespace companions {

namespace {

BY_HANDLE_FILE_INFORMATION InformationOn(const std::wstring& path) {
    const base::File file = base::File::Open(path, FILE_READ_ATTRIBUTES, base::kShareAll, OPEN_EXISTING);
    BY_HANDLE_FILE_INFORMATION information;
    if (!GetFileInformationByHandle(file.Handle(), &information))
        throw base::SystemError(GetLastError(), "examine", path);
    return information;
}

bool IsSameFile(const std::wstring& left, const std::wstring& right) {
    const BY_HANDLE_FILE_INFORMATION a = InformationOn(left);
    const BY_HANDLE_FILE_INFORMATION b = InformationOn(right);
    // Not every file system numbers its files.
    if (a.nFileIndexHigh == 0 && a.nFileIndexLow == 0)
        return base::EqualsIgnoringCase(FileSystem::FullPath(left), FileSystem::FullPath(right));
    return a.dwVolumeSerialNumber == b.dwVolumeSerialNumber && a.nFileIndexHigh == b.nFileIndexHigh &&
           a.nFileIndexLow == b.nFileIndexLow;
}

}  // namespace

void CheckIsOther(const std::wstring& output, const std::wstring& input) {
    if (FileSystem::FileExists(output) && IsSameFile(output, input))
        throw base::Error(HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION),
                          L"the output " + output + L" is the same file as " + input +
                              L", which would be destroyed; name another output");
}

void CheckRoom(const std::wstring& file, std::uint64_t size, const std::wstring& folder) {
    const std::optional<std::uint64_t> free = FileSystem::FreeSpace(folder.empty() ? L"." : folder);
    if (free && size > *free)
        throw base::Error(HRESULT_FROM_WIN32(ERROR_DISK_FULL),
                          file + L" needs " + std::to_wstring(size) + L" bytes in " +
                              (folder.empty() ? L"the current folder" : folder) + L", where " +
                              std::to_wstring(*free) + L" are free; make room on that volume, and try again");
}

}  // namespace companions
