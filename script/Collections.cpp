// See Collections.h.
#include "script/Collections.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "com/Object.h"
#include "com/Result.h"
#include "com/server/Enumerator.h"

using Microsoft::WRL::ComPtr;

namespace script {

namespace {

using Enumerator = com::Enumerator<IEnumVARIANT, VARIANT, com::Variant>;

ComPtr<IUnknown> Enumerate(std::vector<com::Variant> values) {
    return ComPtr<IEnumVARIANT>(com::Make<Enumerator>(std::move(values)));
}

}  // namespace

STDMETHODIMP Collection::get_Item(LONG Index, VARIANT* Value) {
    return com::Return(Value, [&] {
        if (Index < 1 || Index > static_cast<LONG>(m_values.size()))
            throw base::Error(DISP_E_BADINDEX, L"There is no item " + std::to_wstring(Index) +
                                                   L"; the collection holds " +
                                                   std::to_wstring(m_values.size()) + L".");
        return m_values[static_cast<size_t>(Index) - 1];
    });
}

STDMETHODIMP Collection::get_Count(LONG* Value) {
    return com::Return(Value, [&] { return static_cast<LONG>(m_values.size()); });
}

STDMETHODIMP Collection::get__NewEnum(IUnknown** Value) {
    return com::Return(Value, [&] { return Enumerate(m_values); });
}

bool Dictionary::Equal(const std::wstring& left, const std::wstring& right) const noexcept {
    return m_comparison == KeyComparison::Exact ? left == right : base::EqualsIgnoringCase(left, right);
}

std::optional<std::wstring> Dictionary::Find(const std::wstring& key) const {
    const auto found =
        std::ranges::find_if(m_entries, [&](const Entry& entry) { return Equal(entry.first, key); });
    return found == m_entries.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::wstring> Dictionary::KeyAt(size_t position) const {
    return position < m_entries.size() ? std::optional(m_entries[position].first) : std::nullopt;
}

std::vector<com::Variant> Dictionary::AllKeys() const {
    std::vector<com::Variant> keys;
    for (const Entry& entry : m_entries)
        keys.emplace_back(entry.first);
    return keys;
}

void Dictionary::Set(const std::wstring& key, std::wstring value) {
    std::erase_if(m_entries, [&](const Entry& entry) { return Equal(entry.first, key); });
    m_entries.emplace_back(key, std::move(value));
}

STDMETHODIMP Dictionary::get_Item(BSTR Key, BSTR* Value) {
    return com::Return(Value, [&] {
        auto value = Find(com::Text(Key));
        if (!value) throw base::Error(E_INVALIDARG, L"There is no entry \"" + com::Text(Key) + L"\".");
        return *value;
    });
}

STDMETHODIMP Dictionary::get_Count(LONG* Value) {
    return com::Return(Value, [&] { return static_cast<LONG>(m_entries.size()); });
}

STDMETHODIMP Dictionary::Exists(BSTR Key, VARIANT_BOOL* Result) {
    return com::Return(Result, [&] { return Find(com::Text(Key)).has_value(); });
}

STDMETHODIMP Dictionary::Keys(VARIANT* Value) {
    return com::Return(Value, [&] { return com::Variant::Array(AllKeys()); });
}

STDMETHODIMP Dictionary::Items(VARIANT* Value) {
    return com::Return(Value, [&] {
        std::vector<std::wstring> items;
        for (const Entry& entry : m_entries)
            items.push_back(entry.second);
        return com::Variant::Array(items);
    });
}

STDMETHODIMP Dictionary::get__NewEnum(IUnknown** Value) {
    return com::Return(Value, [&] { return Enumerate(AllKeys()); });
}

}  // namespace script
