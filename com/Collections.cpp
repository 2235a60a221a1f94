#include "com/Collections.h"

#include <algorithm>

#include "com/Return.h"

using Microsoft::WRL::ComPtr;

namespace com {

namespace {

/// Enumerates a snapshot of values.
class Enumerator final : public Object<IEnumVARIANT> {
public:
    explicit Enumerator(std::vector<Variant> values, size_t next = 0)
        : m_values(std::move(values)), m_next(next) {}

    STDMETHODIMP Next(ULONG count, VARIANT* values, ULONG* fetched) override {
        if (!values || (!fetched && count != 1)) return E_POINTER;
        ULONG done = 0;
        const HRESULT result = Call([&] {
            for (; done < count && m_next < m_values.size(); ++done, ++m_next)
                values[done] = Variant(m_values[m_next]).Release();
        });
        if (fetched) *fetched = done;
        if (FAILED(result)) return result;
        return done == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const size_t left = m_values.size() - m_next;
        m_next += std::min<size_t>(count, left);
        return count <= left ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        m_next = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(IEnumVARIANT** clone) override {
        return Return(clone, [&] { return ComPtr<IEnumVARIANT>(Make<Enumerator>(m_values, m_next)); });
    }

private:
    std::vector<Variant> m_values;
    size_t m_next;
};

ComPtr<IUnknown> Enumerate(std::vector<Variant> values) {
    return ComPtr<IEnumVARIANT>(Make<Enumerator>(std::move(values)));
}

}  // namespace

STDMETHODIMP Collection::get_Item(LONG Index, VARIANT* Value) {
    return Return(Value, [&] {
        if (Index < 1 || Index > static_cast<LONG>(m_values.size()))
            throw Error(DISP_E_BADINDEX, L"There is no item " + std::to_wstring(Index) +
                                             L"; the collection holds " + std::to_wstring(m_values.size()) +
                                             L".");
        return m_values[static_cast<size_t>(Index) - 1];
    });
}

STDMETHODIMP Collection::get_Count(LONG* Value) {
    return Return(Value, [&] { return static_cast<LONG>(m_values.size()); });
}

STDMETHODIMP Collection::get__NewEnum(IUnknown** Value) {
    return Return(Value, [&] { return Enumerate(m_values); });
}

bool Dictionary::Equal(const std::wstring& left, const std::wstring& right) const noexcept {
    return m_comparison == KeyComparison::Exact ? left == right : EqualsIgnoringCase(left, right);
}

std::optional<std::wstring> Dictionary::Find(const std::wstring& key) const {
    const auto found =
        std::ranges::find_if(m_entries, [&](const Entry& entry) { return Equal(entry.first, key); });
    return found == m_entries.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::wstring> Dictionary::KeyAt(size_t position) const {
    return position < m_entries.size() ? std::optional(m_entries[position].first) : std::nullopt;
}

std::vector<Variant> Dictionary::AllKeys() const {
    std::vector<Variant> keys;
    for (const Entry& entry : m_entries)
        keys.emplace_back(entry.first);
    return keys;
}

void Dictionary::Set(const std::wstring& key, std::wstring value) {
    std::erase_if(m_entries, [&](const Entry& entry) { return Equal(entry.first, key); });
    m_entries.emplace_back(key, std::move(value));
}

STDMETHODIMP Dictionary::get_Item(BSTR Key, BSTR* Value) {
    return Return(Value, [&] {
        auto value = Find(Text(Key));
        if (!value) throw Error(E_INVALIDARG, L"There is no entry \"" + Text(Key) + L"\".");
        return *value;
    });
}

STDMETHODIMP Dictionary::get_Count(LONG* Value) {
    return Return(Value, [&] { return static_cast<LONG>(m_entries.size()); });
}

STDMETHODIMP Dictionary::Exists(BSTR Key, VARIANT_BOOL* Result) {
    return Return(Result, [&] { return Find(Text(Key)).has_value(); });
}

STDMETHODIMP Dictionary::Keys(VARIANT* Value) {
    return Return(Value, [&] { return Variant::Array(AllKeys()); });
}

STDMETHODIMP Dictionary::Items(VARIANT* Value) {
    return Return(Value, [&] {
        std::vector<std::wstring> items;
        for (const Entry& entry : m_entries)
            items.push_back(entry.second);
        return Variant::Array(items);
    });
}

STDMETHODIMP Dictionary::get__NewEnum(IUnknown** Value) {
    return Return(Value, [&] { return Enumerate(AllKeys()); });
}

}  // namespace com
