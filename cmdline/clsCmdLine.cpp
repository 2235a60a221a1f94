// See clsCmdLine.h.
#include "cmdline/clsCmdLine.h"

#include "cmdline/CommandLine.h"
#include "com/Result.h"
#include "com/Values.h"
#include "script/Collections.h"

using Microsoft::WRL::ComPtr;

namespace {

class Store final : public CommandLine::Receiver {
public:
    Store(script::Dictionary& options, script::Collection& parameters)
        : m_options(options), m_parameters(parameters) {}

    void Option(const std::wstring& name, std::wstring value) override {
        m_options.Set(name, std::move(value));
    }
    void Parameter(std::wstring value) override { m_parameters.Add(com::Variant(value)); }

private:
    script::Dictionary& m_options;
    script::Collection& m_parameters;
};

}  // namespace

clsCmdLine::clsCmdLine() { Parse(CommandLine::Arguments(GetCommandLineW())); }

void clsCmdLine::Parse(std::wstring_view sCmd) {
    Store store(*m_options.Get(), *m_parameters.Get());
    CommandLine::Parse(sCmd, store);
}

std::optional<std::wstring> clsCmdLine::Option(const std::wstring& name) const {
    return m_options->Find(name);
}

STDMETHODIMP clsCmdLine::get_Options(_Dictionary** Value) {
    return com::Return(Value, [&] { return ComPtr<_Dictionary>(m_options); });
}

STDMETHODIMP clsCmdLine::get_Parameters(_Collection** Value) {
    return com::Return(Value, [&] { return ComPtr<_Collection>(m_parameters); });
}

STDMETHODIMP clsCmdLine::get_InvalidMsg(BSTR* Value) {
    return com::Return(Value, [] { return std::wstring(); });
}

STDMETHODIMP clsCmdLine::Parse(BSTR sCmd) {
    return com::Call([&] { Parse(com::Text(sCmd)); });
}
