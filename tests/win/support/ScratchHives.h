// Empty stand-ins for the registry hives, so that no test meets or changes the settings of the machine.
#pragma once

#include <windows.h>

#include <string>

#include "base/SystemError.h"

namespace tests {

/// While it exists, this process sees two scratch keys as HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER.
class ScratchHives {
public:
    ScratchHives() {
        Redirect(HKEY_LOCAL_MACHINE, m_root + L"\\Machine");
        Redirect(HKEY_CURRENT_USER, m_root + L"\\User");
    }
    ScratchHives(const ScratchHives&) = delete;
    ScratchHives& operator=(const ScratchHives&) = delete;
    ~ScratchHives() {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegDeleteTreeW(HKEY_CURRENT_USER, m_root.c_str());
    }

private:
    static void Redirect(HKEY hive, const std::wstring& path) {
        HKEY key = nullptr;
        const LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                               nullptr, &key, nullptr);
        if (status != ERROR_SUCCESS) base::ThrowWin32(static_cast<DWORD>(status), path);
        RegOverridePredefKey(hive, key);
        RegCloseKey(key);
    }

    const std::wstring m_root = L"Software\\zntests-" + std::to_wstring(GetCurrentProcessId());
};

}  // namespace tests
