#include "framework/ZNMobileFolders.h"

#include "com/Return.h"
#include "framework/ZNRegistry.h"

using Microsoft::WRL::ComPtr;

namespace {

/// A setting of the registry's "Transport" key.
struct Setting {
    const wchar_t* kind;
    const wchar_t* enterprise;  ///< value that holds it for the enterprise side
    const wchar_t* field;       ///< value that holds it for the field side
    const wchar_t* fallback;
};

constexpr Setting kSettings[] = {
    {L"Outgoing", L"EnterpriseOutgoing", L"FieldOutgoing", L""},
    {L"Incoming", L"EnterpriseIncoming", L"FieldIncoming", L""},
    {L"XDeltaRefPath", L"XDeltaRegPath", L"XDeltaRegPath", L""},
    {L"FTPEnterpriseToField", L"FTPEnterpriseToField", L"FTPEnterpriseToField", L"EnterpriseToField"},
    {L"FTPFieldToEnterprise", L"FTPFieldToEnterprise", L"FTPFieldToEnterprise", L"FieldToEnterprise"},
    {L"FTPServer", L"FTPServer", L"FTPServer", L""},
    {L"FTPUser", L"FTPUser", L"FTPUser", L""},
    {L"FTPPassword", L"FTPPassword", L"FTPPassword", L""},
};

std::wstring RegisteredValue(bool enterprise, const std::wstring& kind) {
    for (const Setting& setting : kSettings) {
        if (!com::EqualsIgnoringCase(setting.kind, kind)) continue;
        const auto registry = com::Make<ZNRegistry>();
        com::Check(
            registry->Open(static_cast<LONG>(0x80000002), ZN_PRODUCT_MOBILE, com::Bstr(L"Transport").Get()));
        return com::Get<com::Variant>(&IZNRegistry::Read, static_cast<IZNRegistry*>(registry.Get()),
                                      com::Bstr(enterprise ? setting.enterprise : setting.field).Get(),
                                      com::Variant(setting.fallback).Get())
            .Text();
    }
    return {};
}

/// Null where the class is not registered; that the class fails to start is no such case.
ComPtr<IZNMobileConfig> CreateMobileConfig() {
    ComPtr<IZNMobileConfig> config;
    const HRESULT result =
        CoCreateInstance(__uuidof(clsTranMobileConfig), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&config));
    if (result != REGDB_E_CLASSNOTREG) com::Check(result, L"znTransporter.clsTranMobileConfig");
    return config;
}

}  // namespace

std::wstring ZNMobileFolders::ConfiguredPath(VARIANT_BOOL enterprise, BSTR kind) const {
    if (!m_config) return RegisteredValue(enterprise != VARIANT_FALSE, com::Text(kind));
    return com::Get<std::wstring>(&IZNMobileConfig::GetConfig, m_config.Get(), enterprise, kind);
}

/// The configuration is created here, not with the locator: it builds its tables for one application.
STDMETHODIMP
ZNMobileFolders::put_ApplicationName(BSTR Value) {
    return com::Call([&] {
        m_config = CreateMobileConfig();
        if (m_config) com::Check(m_config->put_ApplicationName(Value), L"mobile configuration");
    });
}

STDMETHODIMP
ZNMobileFolders::FolderPath(VARIANT_BOOL Enterprise, BSTR Kind, BSTR* Value) {
    return com::Return(Value, [&] { return ConfiguredPath(Enterprise, Kind); });
}
