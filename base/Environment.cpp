// See Environment.h.
#include "base/Environment.h"

#include <windows.h>

#include "base/FileSystem.h"
#include "base/SystemError.h"

namespace base {

std::wstring EnvironmentVariable(const wchar_t* name) {
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

std::wstring CurrentFolder() { return FileSystem::FullPath(L"."); }

std::wstring TemporaryFolder() {
    std::wstring path(GetTempPathW(0, nullptr), L'\0');
    path.resize(GetTempPathW(static_cast<DWORD>(path.size()), path.data()));
    if (path.empty()) ThrowWin32(GetLastError(), L"the folder for temporary files");
    return path;
}

}  // namespace base
