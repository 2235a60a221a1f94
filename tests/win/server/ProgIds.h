// The ProgIDs of every class, and what programs get by the identifier of a type library.
#pragma once

#include <windows.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <array>
#include <span>
#include <string>

#include "com/Values.h"

namespace tests {

/// The identifier that the library itself tells; empty when there is none.
inline std::wstring LoadedTypeLibrary(const GUID& id) {
    Microsoft::WRL::ComPtr<ITypeLib> library;
    TLIBATTR* attributes = nullptr;
    if (FAILED(LoadRegTypeLib(id, 1, 0, 0, &library)) || FAILED(library->GetLibAttr(&attributes))) return {};
    std::wstring loaded = com::Text(attributes->guid);
    library->ReleaseTLibAttr(attributes);
    return loaded;
}

inline constexpr std::array kLibraryProgIds = {
    L"znTransporter.clsTransporter", L"znTransporter.clsZipEncoder",       L"znTransporter.clsXDeltaEncoder",
    L"znTransporter.clsXCOPYSndRcv", L"znTransporter.clsFTPSndRcv",        L"znTransporter.clsHTTPSndRcv",
    L"znTransporter.clsFTPFile",     L"znTransporter.clsTranMobileConfig", L"znTransporter.clsCmdLine",
    L"znTransporter.clsRijndael"};
inline constexpr std::array kFrameworkProgIds = {L"znSystem.ZNEventLog",
                                                 L"znSystem.ZNStartup",
                                                 L"znSystem.ZNRegistry",
                                                 L"znSystem.ZNPropertySet",
                                                 L"znFramework.ZNBrandingResources",
                                                 L"znFramework.ZNApplicationContext",
                                                 L"znFramework.ZNLocale",
                                                 L"znFramework.ZNCategory",
                                                 L"znFramework.ZNMobileFolders"};
/// Of each DLL.
inline constexpr std::span<const wchar_t* const> kProgIds[] = {kLibraryProgIds, kFrameworkProgIds};

}  // namespace tests
