// Ordered list and ordered map that scripts can read.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "com/Object.h"
#include "com/Text.h"
#include "znTransporter.h"

namespace com {

/// Ordered list of values, counted from 1 (_Collection).
class Collection final : public Object<Dual<_Collection>> {
public:
    void Add(Variant value) { m_values.push_back(std::move(value)); }

    STDMETHODIMP
    get_Item(LONG Index, VARIANT* Value) override;
    STDMETHODIMP
    get_Count(LONG* Value) override;
    STDMETHODIMP
    get__NewEnum(IUnknown** Value) override;

private:
    std::vector<Variant> m_values;
};

/// Ordered map from names to texts (_Dictionary).
class Dictionary final : public Object<Dual<_Dictionary>> {
public:
    /// Sets the text of a name; a name that is set again moves to the end.
    void Set(const std::wstring& key, std::wstring value);
    std::optional<std::wstring> Find(const std::wstring& key) const;

    STDMETHODIMP
    get_Item(BSTR Key, BSTR* Value) override;
    STDMETHODIMP
    get_Count(LONG* Value) override;
    STDMETHODIMP
    Exists(BSTR Key, VARIANT_BOOL* Result) override;
    STDMETHODIMP
    Keys(VARIANT* Value) override;
    STDMETHODIMP
    Items(VARIANT* Value) override;
    STDMETHODIMP
    get__NewEnum(IUnknown** Value) override;

private:
    using Entry = std::pair<std::wstring, std::wstring>;

    std::vector<Variant> AllKeys() const;

    std::vector<Entry> m_entries;
};

}  // namespace com
