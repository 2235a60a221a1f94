// Encoder that compresses packets by the program Zip.exe and restores them by Unzip.exe.
#pragma once

#include "encoders/Encoder.h"

class clsZipEncoder final : public Encoder<com::Dual<_clsZipEncoder2, _clsZipEncoder>> {
public:
    /// Reads the defaults from the registry.
    clsZipEncoder();

    // _clsZipEncoder
    STDMETHODIMP get_ZipUtilLocation(BSTR* Value) override { return com::Return(Value, m_sZipUtilLocation); }
    STDMETHODIMP put_ZipUtilLocation(BSTR Value) override { return com::Assign(m_sZipUtilLocation, Value); }
    STDMETHODIMP get_CompressionLevel(LONG* Value) override {
        return com::Return(Value, m_lCompressionLevel);
    }
    STDMETHODIMP put_CompressionLevel(LONG Value) override { return com::Assign(m_lCompressionLevel, Value); }
    STDMETHODIMP get_ZipTimeout(LONG* Value) override { return com::Return(Value, m_lZipTimeout); }
    STDMETHODIMP put_ZipTimeout(LONG Value) override { return com::Assign(m_lZipTimeout, Value); }

private:
    bool IZNEncoder_Encode(const std::wstring& InFolder, const std::wstring& OutFolder,
                           const std::wstring& FileName, std::wstring& OutFile) override;
    bool IZNEncoder_Decode(const std::wstring& InFolder, const std::wstring& OutFolder,
                           const std::wstring& FileName, std::wstring& OutFile) override;
    Microsoft::WRL::ComPtr<IZNPropertySet> IZNEncoder2_PropSet() override;
    void IZNEncoder2_PropSet(IZNPropertySet* Settings) override;

    bool ProgramExists(const wchar_t* Program);
    std::wstring ProgramPath(const wchar_t* Program) const;
    std::wstring ZipCommand(const std::wstring& workFile, const std::wstring& source) const;
    bool Zip(const std::wstring& source, const std::wstring& workFile) const;
    static void ReportLateWorkFile(const Procedure& encode, const std::wstring& workFile, int seconds);

    const bool SupressMsg = false;
    LONG m_lCompressionLevel = 0;
    LONG m_lZipTimeout = 0;  // seconds
    std::wstring m_sZipUtilLocation;
    bool m_missingProgramReported = false;
};
