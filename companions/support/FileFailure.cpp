// See FileFailure.h.
#include "companions/support/FileFailure.h"

#include "base/SystemError.h"
#include "base/Utf8.h"

namespace companions {

namespace {

const wchar_t* WayOut(DWORD code) {
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
        return L"; check the name and the folder";
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
        return L"; check that it is no folder, that it is not read-only, and that you may use it";
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
        return L"; it is in use by another program: close that, and try again";
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return L"; make room on that volume, and try again";
    case ERROR_FILENAME_EXCED_RANGE:
        return L"; choose a shorter name";
    default:
        return L"";
    }
}

}  // namespace

std::wstring Sentence(const base::SystemError& error) {
    std::wstring reason = base::SystemText(error.Code());
    while (reason.ends_with(L'.'))
        reason.pop_back();
    return L"cannot " + base::FromUtf8(error.Action()) + L" " + error.Subject() + L": " + reason +
           WayOut(error.Code());
}

}  // namespace companions
