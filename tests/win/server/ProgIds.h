// The ProgIDs of every class.
#pragma once

#include <array>

namespace tests {

inline constexpr std::array kLibraryProgIds = {
    L"znTransporter.clsTransporter",      L"znTransporter.clsZipEncoder", L"znTransporter.clsXDeltaEncoder",
    L"znTransporter.clsXCOPYSndRcv",      L"znTransporter.clsFTPSndRcv",  L"znTransporter.clsFTPFile",
    L"znTransporter.clsTranMobileConfig", L"znTransporter.clsCmdLine",    L"znTransporter.clsRijndael"};
inline constexpr std::array kFrameworkProgIds = {L"znSystem.ZNEventLog",
                                                 L"znSystem.ZNStartup",
                                                 L"znSystem.ZNRegistry",
                                                 L"znSystem.ZNPropertySet",
                                                 L"znFramework.ZNBrandingResources",
                                                 L"znFramework.ZNApplicationContext",
                                                 L"znFramework.ZNLocale",
                                                 L"znFramework.ZNCategory",
                                                 L"znFramework.ZNMobileFolders"};

}  // namespace tests
