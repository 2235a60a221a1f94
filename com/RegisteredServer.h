// Where the registry says that the server of a class lies.
#pragma once

#include <windows.h>
#include <objbase.h>

#include <string>

#include "base/Handle.h"

namespace com {

struct RegistryKeyTraits {
    using Value = HKEY;
    static Value None() noexcept { return nullptr; }
    static void Close(Value key) noexcept { RegCloseKey(key); }
};
using RegistryKey = base::UniqueHandle<RegistryKeyTraits>;

/// Key of a class, and of its server, below a hive.
std::wstring ClassPath(const CLSID& clsid);
std::wstring ServerPath(const CLSID& clsid);

/// The DLL that serves a class to programs of this bitness, or of that of a view; empty when there is none.
std::wstring RegisteredServer(HKEY hive, const CLSID& clsid, REGSAM view = 0);

}  // namespace com
