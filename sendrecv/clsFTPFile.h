// Entry of a remote folder, for hosts and scripts.
#pragma once

#include <string>

#include "com/Result.h"
#include "com/server/ServerObject.h"
#include "znTransporter.h"

class clsFTPFile final : public com::ServerObject<com::Dual<_clsFTPFile>> {
public:
    STDMETHODIMP get_sFileName(BSTR* Value) override { return com::Return(Value, m_sFileName); }
    STDMETHODIMP put_sFileName(BSTR Value) override { return com::Assign(m_sFileName, Value); }
    STDMETHODIMP get_lAttributes(LONG* Value) override { return com::Return(Value, m_lAttributes); }
    STDMETHODIMP put_lAttributes(LONG Value) override { return com::Assign(m_lAttributes, Value); }

private:
    std::wstring m_sFileName;
    LONG m_lAttributes = 0;
};
