// See CycleLock.h.
#include "host/cycle/CycleLock.h"

#include "base/Error.h"
#include "base/File.h"

CycleLock::CycleLock(const std::wstring& settingsFile)
    : m_file(
          base::File::Open(settingsFile, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING)) {
    OVERLAPPED place{};
    // Far behind the text, so that everybody can still read and edit that.
    place.Offset = 1u << 30;
    if (LockFileEx(m_file.Handle(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place))
        return;
    throw base::Error(HRESULT_FROM_WIN32(GetLastError()),
                      L"Another znhost is at work with " + settingsFile + L"; run again when it has ended.");
}
