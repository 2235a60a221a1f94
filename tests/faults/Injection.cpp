// See Injection.h.
#include "tests/faults/Injection.h"

#include <cwchar>

namespace faults {

namespace {

constexpr const wchar_t* kDll = L"faults.dll";

/// False when the path does not fit.
bool DllBeside(HMODULE module, wchar_t (&path)[MAX_PATH]) {
    if (GetModuleFileNameW(module, path, MAX_PATH) >= MAX_PATH) return false;
    wchar_t* const name = wcsrchr(path, L'\\') + 1;
    if (name + wcslen(kDll) >= path + MAX_PATH) return false;
    wcscpy(name, kDll);
    return true;
}

/// The system's libraries lie at the same place in all processes of a bitness.
LPTHREAD_START_ROUTINE LoadLibraryThere() {
    return reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "LoadLibraryW")));
}

}  // namespace

bool Inject(HANDLE process, HMODULE module) {
    wchar_t path[MAX_PATH];
    if (!DllBeside(module, path)) return false;
    void* const there =
        VirtualAllocEx(process, nullptr, sizeof path, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    if (!there || !WriteProcessMemory(process, there, path, sizeof path, nullptr)) return false;
    const HANDLE thread = CreateRemoteThread(process, nullptr, 0, LoadLibraryThere(), there, 0, nullptr);
    if (!thread) return false;
    DWORD loaded = 0;
    WaitForSingleObject(thread, INFINITE);
    GetExitCodeThread(thread, &loaded);
    CloseHandle(thread);
    VirtualFreeEx(process, there, 0, MEM_RELEASE);
    return loaded != 0;
}

}  // namespace faults
