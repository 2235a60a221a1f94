// See ZNMobileFolders.h.
#include "framework/ZNMobileFolders.h"

#include "base/Error.h"
#include "com/Create.h"
#include "com/ErrorInfo.h"
#include "com/Result.h"

/// The configuration is created here, not with the locator: it builds its tables for one application. One
/// that fails does not take the place of one that works.
STDMETHODIMP ZNMobileFolders::put_ApplicationName(BSTR Value) {
    return com::Call([&] {
        const auto config =
            com::Create<clsTranMobileConfig, IZNMobileConfig>(L"znTransporter.clsTranMobileConfig");
        com::Check(config->put_ApplicationName(Value), L"mobile configuration");
        m_config = config;
    });
}

STDMETHODIMP ZNMobileFolders::FolderPath(VARIANT_BOOL Enterprise, BSTR Kind, BSTR* Value) {
    return com::Return(Value, [&] {
        if (!m_config) throw base::Error(E_UNEXPECTED, L"Set ApplicationName before asking for a folder.");
        return com::Get<std::wstring>(&IZNMobileConfig::GetConfig, m_config.Get(), Enterprise, Kind);
    });
}
