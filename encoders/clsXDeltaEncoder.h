// Encoder that sends only a packet's difference against a reference file which both sides hold, made and
// applied by the program xDelta.exe.
#pragma once

#include <optional>

#include "encoders/Encoder.h"
#include "services/FolderLocator.h"

class clsXDeltaEncoder final : public Encoder<com::Dual<_clsXDeltaEncoder2, _clsXDeltaEncoder>> {
public:
    /// Reads the defaults from the registry.
    clsXDeltaEncoder();

    // _clsXDeltaEncoder
    STDMETHODIMP get_XDeltaUtilLocation(BSTR* Value) override {
        return com::Return(Value, m_sXDeltaUtilLocation);
    }
    STDMETHODIMP put_XDeltaUtilLocation(BSTR Value) override;
    STDMETHODIMP get_ReferencePath(BSTR* Value) override { return com::Return(Value, m_sReferencePath); }
    STDMETHODIMP put_ReferencePath(BSTR Value) override;
    STDMETHODIMP get_Timeout(LONG* Value) override { return com::Return(Value, m_lTimeout); }
    STDMETHODIMP put_Timeout(LONG Value) override { return com::Assign(m_lTimeout, Value); }

private:
    bool IZNEncoder_Encode(const std::wstring& InFolder, const std::wstring& OutFolder,
                           const std::wstring& FileName, std::wstring& OutFile) override;
    bool IZNEncoder_Decode(const std::wstring& InFolder, const std::wstring& OutFolder,
                           const std::wstring& FileName, std::wstring& OutFile) override;
    Microsoft::WRL::ComPtr<IZNPropertySet> IZNEncoder2_PropSet() override;
    void IZNEncoder2_PropSet(IZNPropertySet* Settings) override;
    void IZNEncoder2_ApplicationName(const std::wstring& Name) override;

    /// Takes all settings but the program's folder, and returns that which is registered. Nothing after a
    /// failure, which is reported.
    std::optional<std::wstring> TakeSettings(IZNPropertySet* Settings);
    void XDeltaUtilLocation(const std::wstring& Folder);
    void ReferencePath(const std::wstring& File);
    void UseReference(const std::wstring& file);
    bool ValidRegistryKeys();
    std::wstring ProgramPath() const { return m_sXDeltaUtilLocation + L"xDelta.exe"; }

    const bool SupressMsg = false;
    std::wstring m_sXDeltaUtilLocation;
    LONG m_lTimeout = 0;  // seconds
    std::wstring m_sReferencePath;
    std::wstring m_sReferenceFolder;
    bool m_bMobile = false;
    FolderLocator m_folderLocator;
};
