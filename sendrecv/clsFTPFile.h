// Entry of a remote folder, or of the local folder that is sent to it.
#pragma once

#include <cstdint>
#include <string>

#include "com/server/ServerObject.h"
#include "znTransporter.h"

class clsFTPFile final : public com::ServerObject<com::Dual<_clsFTPFile>> {
public:
    clsFTPFile() = default;
    clsFTPFile(std::wstring name, DWORD attributes, std::uint64_t size)
        : sFileName(std::move(name)), lAttributes(static_cast<LONG>(attributes)), m_size(size) {}

    STDMETHODIMP get_sFileName(BSTR* Value) override;
    STDMETHODIMP put_sFileName(BSTR Value) override;
    STDMETHODIMP get_lAttributes(LONG* Value) override;
    STDMETHODIMP put_lAttributes(LONG Value) override;

    bool IsFolder() const { return (lAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
    bool IsSelfOrParent() const { return sFileName == L"." || sFileName == L".."; }
    /// Bytes; 0 where the server did not tell.
    std::uint64_t Size() const { return m_size; }

    std::wstring sFileName;
    LONG lAttributes = 0;

private:
    std::uint64_t m_size = 0;
};
