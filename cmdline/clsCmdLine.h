// Command line of the hosting process, or any other text, as options and parameters.
#pragma once

#include <wrl/client.h>

#include <optional>
#include <string>

#include "com/Object.h"
#include "com/server/ServerObject.h"
#include "script/Collections.h"
#include "znTransporter.h"

class clsCmdLine final : public com::ServerObject<com::Dual<_clsCmdLine>> {
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
    Microsoft::WRL::ComPtr<script::Dictionary> m_options = com::Make<script::Dictionary>();
    Microsoft::WRL::ComPtr<script::Collection> m_parameters = com::Make<script::Collection>();
};
