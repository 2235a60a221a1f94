// See RegisteredServer.h.
#include "com/RegisteredServer.h"

#include "com/Values.h"

namespace com {

std::wstring ClassPath(const CLSID& clsid) { return L"Software\\Classes\\CLSID\\" + Text(clsid); }
std::wstring ServerPath(const CLSID& clsid) { return ClassPath(clsid) + L"\\InprocServer32"; }

std::wstring RegisteredServer(HKEY hive, const CLSID& clsid, REGSAM view) {
    constexpr size_t kLongestPath = 32767;
    std::wstring path(kLongestPath, L'\0');
    auto size = static_cast<DWORD>(path.size() * sizeof(wchar_t));
    RegistryKey key;
    if (RegOpenKeyExW(hive, ServerPath(clsid).c_str(), 0, KEY_READ | view, key.Put()) != ERROR_SUCCESS ||
        RegGetValueW(key.Get(), nullptr, nullptr, RRF_RT_REG_SZ, nullptr, path.data(), &size) !=
            ERROR_SUCCESS)
        return {};
    path.resize(size / sizeof(wchar_t) - 1);
    return path;
}

}  // namespace com
