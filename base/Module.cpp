// See Module.h.
#include "base/Module.h"

#include "base/SystemError.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace base {

namespace {

std::wstring PathOf(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) ThrowWin32(GetLastError(), L"path of the module");
        if (length < path.size()) return path.substr(0, length);
        path.resize(path.size() * 2);
    }
}

}  // namespace

HINSTANCE ModuleHandle() noexcept { return reinterpret_cast<HINSTANCE>(&__ImageBase); }

void PinModule() noexcept {
    HMODULE pinned = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&__ImageBase), &pinned);
}

std::wstring ModulePath() { return PathOf(ModuleHandle()); }

std::wstring ProgramPath() { return PathOf(nullptr); }

}  // namespace base
