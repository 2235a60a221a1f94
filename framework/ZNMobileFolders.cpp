#include "framework/ZNMobileFolders.h"

#include "com/Return.h"
#include "framework/ZNRegistry.h"

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

std::wstring ConfiguredValue(bool enterprise, const std::wstring& kind) {
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

}  // namespace

/// The layout in the registry is the same for all applications.
STDMETHODIMP
ZNMobileFolders::put_ApplicationName(BSTR) { return S_OK; }

STDMETHODIMP
ZNMobileFolders::FolderPath(VARIANT_BOOL Enterprise, BSTR Kind, BSTR* Value) {
    return com::Return(Value, [&] { return ConfiguredValue(Enterprise != VARIANT_FALSE, com::Text(Kind)); });
}
