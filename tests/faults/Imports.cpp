// See Imports.h.
#include "tests/faults/Imports.h"

#include <cstddef>
#include <cstring>
#include <cwchar>

namespace faults {

namespace {

const Hook* g_hooks = nullptr;

/// What the system's loader tells of a library; its headers do not declare it.
struct LoadedDll {
    ULONG flags;
    const struct UnicodeText {
        USHORT length;
        USHORT capacity;
        wchar_t* text;
    } * path;
    const UnicodeText* name;
    void* base;
    ULONG size;
};
using Notification = VOID(CALLBACK*)(ULONG reason, const LoadedDll* dll, void* context);
using RegisterNotification = LONG(NTAPI*)(ULONG flags, Notification notification, void* context,
                                          void** cookie);
constexpr ULONG kLoaded = 1;

const Hook* Find(const char* name) {
    for (const Hook* hook = g_hooks; hook->name; ++hook)
        if (strcmp(hook->name, name) == 0) return hook;
    return nullptr;
}

void ReplaceEntry(IMAGE_THUNK_DATA& entry, const Hook& hook) {
    auto& function = reinterpret_cast<Function&>(entry.u1.Function);
    if (!*hook.original) *hook.original = function;
    DWORD protection = 0;
    VirtualProtect(&function, sizeof function, PAGE_READWRITE, &protection);
    function = hook.replacement;
    VirtualProtect(&function, sizeof function, protection, &protection);
}

class Module {
public:
    explicit Module(void* base) : m_base(static_cast<std::byte*>(base)) {}

    void ReplaceImports() const {
        const DWORD table =
            Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        if (table == 0) return;
        for (auto* library = At<IMAGE_IMPORT_DESCRIPTOR>(table); library->Name != 0; ++library)
            ReplaceImportsFrom(*library);
    }

private:
    template <class Content>
    Content* At(ULONG_PTR offset) const {
        return reinterpret_cast<Content*>(m_base + offset);
    }

    const IMAGE_NT_HEADERS& Headers() const {
        return *At<IMAGE_NT_HEADERS>(static_cast<ULONG_PTR>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    }

    void ReplaceImportsFrom(const IMAGE_IMPORT_DESCRIPTOR& library) const {
        auto* name = At<IMAGE_THUNK_DATA>(library.OriginalFirstThunk);
        auto* entry = At<IMAGE_THUNK_DATA>(library.FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++entry) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
            const auto* const import = At<IMAGE_IMPORT_BY_NAME>(name->u1.AddressOfData);
            if (const Hook* hook = Find(reinterpret_cast<const char*>(import->Name)))
                ReplaceEntry(*entry, *hook);
        }
    }

    std::byte* m_base;
};

/// Whether a library is one of the product: those lie beside the program.
bool IsBesideProgram(const wchar_t* path) {
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const auto folder = static_cast<size_t>(wcsrchr(program, L'\\') + 1 - program);
    return _wcsnicmp(path, program, folder) == 0 && !wcschr(path + folder, L'\\');
}

VOID CALLBACK OnNotification(ULONG reason, const LoadedDll* dll, void*) {
    if (reason == kLoaded && IsBesideProgram(dll->path->text)) Module(dll->base).ReplaceImports();
}

}  // namespace

void ReplaceImports(const Hook* hooks) {
    g_hooks = hooks;
    Module(GetModuleHandleW(nullptr)).ReplaceImports();
    const auto notify = reinterpret_cast<RegisterNotification>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification")));
    void* cookie = nullptr;
    notify(0, &OnNotification, nullptr, &cookie);
}

Function ReplacementOf(Function function, const char* name) {
    const bool isOrdinal = reinterpret_cast<ULONG_PTR>(name) <= 0xFFFF;
    const Hook* const hook = function && !isOrdinal ? Find(name) : nullptr;
    if (!hook) return function;
    if (!*hook->original) *hook->original = function;
    return hook->replacement;
}

}  // namespace faults
