// See Persistence.h.
#include "base/Persistence.h"

#include "base/Handle.h"

namespace base {

namespace {

/// Whether somebody has a file open, or it is deleted but not gone.
bool IsHeld(const std::wstring& file) {
    const DWORD attributes = GetFileAttributesW(file.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return GetLastError() == ERROR_ACCESS_DENIED;
    // That alone is why.
    if (attributes & FILE_ATTRIBUTE_READONLY) return false;
    // No file that is open is replaced, however it is shared.
    const FileHandle handle(CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    return !handle && GetLastError() == ERROR_SHARING_VIOLATION;
}

}  // namespace

bool MayPass(DWORD error, const std::wstring& file) {
    switch (error) {
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_DELETE_PENDING:
        return true;
    case ERROR_ACCESS_DENIED:
        return IsHeld(file);
    default:
        return false;
    }
}

}  // namespace base
