// Mobile configuration: folders and transfer settings of one application, read from the registry.
#pragma once

#include <wrl/client.h>

#include <string>

#include "com/server/ServerObject.h"
#include "script/Collections.h"
#include "znTransporter.h"

/// It has no error handler: whatever fails is raised to the caller.
class clsTranMobileConfig final : public com::ServerObject<com::Dual<_clsTranMobileConfig>, IZNMobileConfig> {
public:
    STDMETHODIMP put_ApplicationName(BSTR Value) override;
    STDMETHODIMP get_ApplicationName(BSTR* Value) override;
    STDMETHODIMP GetConfig(VARIANT_BOOL Enterprise, BSTR ConfigName, BSTR* Value) override;
    STDMETHODIMP NextConfigName(VARIANT_BOOL Enterprise, BSTR* ConfigName) override;
    STDMETHODIMP ResetConfigNames(VARIANT_BOOL Enterprise) override;
    STDMETHODIMP SetConfig(VARIANT_BOOL Enterprise, BSTR ConfigName, BSTR ConfigValue) override;
    // _clsTranMobileConfig
    STDMETHODIMP get_Enterprise(_Dictionary** Value) override { return SettingsOf(m_enterprise, Value); }
    STDMETHODIMP get_Field(_Dictionary** Value) override { return SettingsOf(m_field, Value); }

private:
    /// What is known of one side.
    struct Side {
        Microsoft::WRL::ComPtr<script::Dictionary> table;  ///< null until the application is named
        size_t next = 0;  ///< position in the enumeration of names; outlives the table
    };

    void IZNMobileConfig_ApplicationName(const std::wstring& Name);
    std::wstring IZNMobileConfig_GetConfig(bool Enterprise, const std::wstring& ConfigName);
    std::wstring IZNMobileConfig_NextConfigName(bool Enterprise);
    void IZNMobileConfig_ResetConfigNames(bool Enterprise);
    void IZNMobileConfig_SetConfig(bool Enterprise, const std::wstring& ConfigName,
                                   const std::wstring& ConfigValue);

    static HRESULT SettingsOf(const Side& side, _Dictionary** Value);
    Side& SideOf(bool enterprise) { return enterprise ? m_enterprise : m_field; }

    Side m_enterprise;
    Side m_field;
    std::wstring m_sApplicationName;
};
