// Named values below one registry key of a product.
#pragma once

#include <optional>
#include <string>

#include "com/server/ServerObject.h"
#include "znSystem.h"

class ZNRegistry final : public com::ServerObject<IZNRegistry> {
public:
    STDMETHODIMP Open(LONG Hive, LONG Product, BSTR SubKey) override;
    STDMETHODIMP Read(BSTR Name, VARIANT Default, VARIANT* Value) override;
    STDMETHODIMP Write(BSTR Name, VARIANT Value) override;

private:
    const std::wstring& Path() const;

    HKEY m_hive = nullptr;
    std::wstring m_path;      ///< of the selected key, below its hive
    bool m_usersToo = false;  ///< whether the current user's values of the key win
};
