// Command line of the hosting process, or any other text, as options and parameters.
#pragma once

#include <wrl/client.h>

#include <optional>
#include <string>

#include "com/Collections.h"
#include "com/Object.h"
#include "znTransporter.h"

class clsCmdLine final : public com::Object<com::Dual<_clsCmdLine>> {
public:
    /// Parses the arguments of the hosting process.
    clsCmdLine();

    void Parse(std::wstring_view sCmd);
    std::optional<std::wstring> Option(const std::wstring& name) const;

    STDMETHODIMP get_Options(_Dictionary** Value) override;
    STDMETHODIMP get_Parameters(_Collection** Value) override;
    STDMETHODIMP get_InvalidMsg(BSTR* Value) override;
    STDMETHODIMP Parse(BSTR sCmd) override;

private:
    Microsoft::WRL::ComPtr<com::Dictionary> m_options = com::Make<com::Dictionary>();
    Microsoft::WRL::ComPtr<com::Collection> m_parameters = com::Make<com::Collection>();
};
