// What every encoder is: the binary contract of the encoder, administration and category interfaces, over
// a few members that state the encoder's own behaviour.
#pragma once

#include <wrl/client.h>

#include <string>

#include "base/SystemError.h"
#include "com/Result.h"
#include "com/Values.h"
#include "services/Branding.h"
#include "services/Component.h"

/// ScriptInterface: the com::Dual that scripts reach the encoder by.
template <class ScriptInterface>
class Encoder : public Component<ScriptInterface, IZNEncoder, IZNEncoder2> {
public:
    // IZNEncoder; scripts reach the extensions, too
    STDMETHODIMP Encode(BSTR InFolder, BSTR OutFolder, BSTR FileName, VARIANT_BOOL* Success) final {
        com::Bstr producedFile;
        return Encode(InFolder, OutFolder, FileName, producedFile.Put(), Success);
    }
    STDMETHODIMP get_InExtension(BSTR* Value) final { return com::Return(Value, m_sInExtension); }
    STDMETHODIMP put_InExtension(BSTR Value) final { return com::Assign(m_sInExtension, Value); }
    STDMETHODIMP get_OutExtension(BSTR* Value) final { return com::Return(Value, m_sOutExtension); }
    STDMETHODIMP put_OutExtension(BSTR Value) final { return com::Assign(m_sOutExtension, Value); }
    // IZNEncoder2
    STDMETHODIMP Encode(BSTR InFolder, BSTR OutFolder, BSTR FileName, BSTR* OutFile,
                        VARIANT_BOOL* Success) final {
        return Run(&Encoder::IZNEncoder_Encode, InFolder, OutFolder, FileName, OutFile, Success);
    }
    STDMETHODIMP get_PropSet(IZNPropertySet** Value) final {
        return com::Return(Value, [&] { return IZNEncoder2_PropSet(); });
    }
    STDMETHODIMP putref_PropSet(IZNPropertySet* Value) final {
        return com::Call([&] { IZNEncoder2_PropSet(Value); });
    }
    STDMETHODIMP get_ApplicationName(BSTR* Value) final { return com::Return(Value, m_sApplicationName); }
    STDMETHODIMP put_ApplicationName(BSTR Value) final {
        return com::Call([&] { IZNEncoder2_ApplicationName(com::Text(Value)); });
    }
    // IZNEncoder and IZNEncoder2
    STDMETHODIMP Decode(BSTR InFolder, BSTR OutFolder, BSTR FileName, BSTR* OutFile,
                        VARIANT_BOOL* Success) final {
        return Run(&Encoder::IZNEncoder_Decode, InFolder, OutFolder, FileName, OutFile, Success);
    }

protected:
    /// className: for reports. nameEntry: the start-up service's entry with the display name.
    Encoder(std::wstring className, LONG nameEntry, std::wstring outExtension)
        : Base(std::move(className), ZN_CATEGORY_ENCODER),
          m_sOutExtension(std::move(outExtension)),
          m_nameEntry(nameEntry) {}

    /// Takes a default from the registry. One that cannot be used is reported, and the encoder keeps its own:
    /// hosts create it also where they do not need that value.
    template <class Take>
    void TakeDefault(Take&& take) const try {
        take();
    } catch (...) {
        this->Member(L"Class_Initialize")
            .Report(Lines(base::CurrentFailure().description,
                          L"The encoder keeps its own default. Correct the value, or give another one with "
                          L"the settings."));
    }

    virtual bool IZNEncoder_Encode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                   const std::wstring& FileName, std::wstring& OutFile) = 0;
    virtual bool IZNEncoder_Decode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                   const std::wstring& FileName, std::wstring& OutFile) = 0;
    virtual Microsoft::WRL::ComPtr<IZNPropertySet> IZNEncoder2_PropSet() = 0;
    virtual void IZNEncoder2_PropSet(IZNPropertySet* Settings) = 0;
    virtual void IZNEncoder2_ApplicationName(const std::wstring& Name) { m_sApplicationName = Name; }

    std::wstring m_sInExtension = L".mdb";
    std::wstring m_sOutExtension;
    std::wstring m_sApplicationName;

private:
    using Base = Component<ScriptInterface, IZNEncoder, IZNEncoder2>;
    using Behaviour = bool (Encoder::*)(const std::wstring&, const std::wstring&, const std::wstring&,
                                        std::wstring&);

    HRESULT Run(Behaviour behaviour, BSTR InFolder, BSTR OutFolder, BSTR FileName, BSTR* OutFile,
                VARIANT_BOOL* Success) {
        if (!OutFile) return E_POINTER;
        return com::Return(Success, [&] {
            std::wstring outFile = com::Text(*OutFile);
            const bool done =
                (this->*behaviour)(com::Text(InFolder), com::Text(OutFolder), com::Text(FileName), outFile);
            com::Replace(OutFile, outFile);
            return done;
        });
    }
    std::wstring DisplayName() final { return StartupEntry(m_nameEntry); }

    const LONG m_nameEntry;
};
