// See CycleLock.h.
#include "host/cycle/CycleLock.h"

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Persistence.h"
#include "base/SystemError.h"
#include "host/settings/SideFolders.h"

namespace {

[[noreturn]] void Refuse(DWORD error, const std::wstring& subject) {
    throw base::Error(HRESULT_FROM_WIN32(error),
                      L"Another znhost is at work with " + subject + L"; run again when it has ended.");
}

base::File LockSettings(const std::wstring& path) {
    base::File file = base::File::Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    OVERLAPPED place{};
    // Far behind the text, so that everybody can still read and edit that.
    place.Offset = 1u << 30;
    if (LockFileEx(file.Handle(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place))
        return file;
    const DWORD error = GetLastError();
    if (error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING) Refuse(error, path);
    throw base::Error(HRESULT_FROM_WIN32(error), L"The settings file cannot be locked against another run: " +
                                                     base::SystemText(error, path));
}

/// By a file beside the folder, which nobody else can open, and which the system removes with the process.
std::optional<base::File> LockFolder(const SideFolder& lock, const Settings& settings) try {
    const std::wstring path = lock.Path(settings);
    FileSystem::CreateFolders(Path::ParentFolder(path));
    auto file = base::File::TryOpenPersistently(path, GENERIC_READ | DELETE, 0, OPEN_ALWAYS);
    const DWORD error = file ? ERROR_SUCCESS : GetLastError();
    if (file)
        file->RemoveWhenClosed();
    else if (base::MayPass(error, FileSystem::Extended(path)))
        Refuse(error, settings.*lock.folder);
    return file;
} catch (const base::SystemError&) {
    return std::nullopt;
}

}  // namespace

CycleLock::CycleLock(const Settings& settings)
    : m_settings(LockSettings(settings.file)),
      m_send(LockFolder(kSendLock, settings)),
      m_receive(LockFolder(kReceiveLock, settings)) {}

/// A lock that can be opened is left of a computer that failed.
std::optional<bool> IsAtWork(const Settings& settings) {
    const std::wstring lock = kSendLock.Path(settings);
    if (base::File::TryOpen(lock, GENERIC_READ, base::kShareAll)) return false;
    const DWORD error = GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return false;
    if (base::MayPass(error, FileSystem::Extended(lock))) return true;
    return std::nullopt;
}
