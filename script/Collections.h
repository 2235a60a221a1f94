// Ordered list and ordered map that scripts can read.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "com/Values.h"
#include "com/server/ServerObject.h"
#include "znTransporter.h"

namespace script {

/// Ordered list of values, counted from 1 (_Collection).
class Collection final : public com::ServerObject<com::Dual<_Collection>> {
public:
    void Add(com::Variant value) { m_values.push_back(std::move(value)); }

    STDMETHODIMP get_Item(LONG Index, VARIANT* Value) override;
    STDMETHODIMP get_Count(LONG* Value) override;
    STDMETHODIMP get__NewEnum(IUnknown** Value) override;

private:
    std::vector<com::Variant> m_values;
};

enum class KeyComparison { Exact, IgnoringCase };

/// Ordered map from names to texts (_Dictionary).
class Dictionary final : public com::ServerObject<com::Dual<_Dictionary>> {
public:
    explicit Dictionary(KeyComparison comparison = KeyComparison::Exact) : m_comparison(comparison) {}

    /// Sets the text of a name; a name that is set again moves to the end, in its new spelling.
    void Set(const std::wstring& key, std::wstring value);
    std::optional<std::wstring> Find(const std::wstring& key) const;
    /// The name at a position from 0; nothing beyond the end.
    std::optional<std::wstring> KeyAt(size_t position) const;

    STDMETHODIMP get_Item(BSTR Key, BSTR* Value) override;
    STDMETHODIMP get_Count(LONG* Value) override;
    STDMETHODIMP Exists(BSTR Key, VARIANT_BOOL* Result) override;
    STDMETHODIMP Keys(VARIANT* Value) override;
    STDMETHODIMP Items(VARIANT* Value) override;
    STDMETHODIMP get__NewEnum(IUnknown** Value) override;

private:
    using Entry = std::pair<std::wstring, std::wstring>;

    bool Equal(const std::wstring& left, const std::wstring& right) const noexcept;
    std::vector<com::Variant> AllKeys() const;

    KeyComparison m_comparison;
    std::vector<Entry> m_entries;
};

}  // namespace script
