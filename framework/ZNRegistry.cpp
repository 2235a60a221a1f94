// See ZNRegistry.h.
#include "framework/ZNRegistry.h"

#include <cstring>
#include <vector>

#include "base/Error.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "com/Result.h"
#include "com/Values.h"

namespace {

struct Product {
    LONG number;
    const wchar_t* path;
    bool usersToo;  ///< whether users have values of their own, which win over those of the machine
};

/// The keys of the product areas. Where programs lie is a matter of the machine alone: a user's value could
/// make an elevated host start the user's programs.
constexpr Product kProducts[] = {
    {ZN_PRODUCT_FRAMEWORK, L"Software\\znFramework", false},
    {ZN_PRODUCT_MOBILE, L"Software\\znMobile", true},
};

const Product& ProductOf(LONG number) {
    for (const Product& product : kProducts)
        if (product.number == number) return product;
    throw base::Error(E_INVALIDARG, L"There is no registry product number " + std::to_wstring(number) + L".");
}

HKEY PredefinedKey(LONG hive) {
    const auto key = reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(static_cast<LONG_PTR>(hive)));
    if (key == HKEY_LOCAL_MACHINE || key == HKEY_CURRENT_USER || key == HKEY_CLASSES_ROOT ||
        key == HKEY_USERS)
        return key;
    throw base::Error(E_INVALIDARG, base::Hexadecimal(static_cast<DWORD>(hive)) + L" is no registry hive.");
}

/// A value as it is stored.
struct RawValue {
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

std::optional<RawValue> ReadRaw(HKEY hive, const std::wstring& path, const std::wstring& name) {
    RawValue value;
    for (;;) {
        auto size = static_cast<DWORD>(value.data.size());
        const LSTATUS status = RegGetValueW(hive, path.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND,
                                            &value.type, value.data.data(), &size);
        if (status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND) return std::nullopt;
        const bool fits = status == ERROR_SUCCESS && size <= value.data.size();
        if (!fits && status != ERROR_SUCCESS && status != ERROR_MORE_DATA)
            base::ThrowWin32(static_cast<DWORD>(status), path + L"\\" + name);
        value.data.resize(size);
        if (fits) return value;
    }
}

std::wstring Expanded(const std::wstring& text) {
    std::wstring result(ExpandEnvironmentStringsW(text.c_str(), nullptr, 0), L'\0');
    const DWORD length =
        ExpandEnvironmentStringsW(text.c_str(), result.data(), static_cast<DWORD>(result.size()));
    result.resize(length == 0 ? 0 : length - 1);
    return result;
}

std::wstring StoredText(const RawValue& value) {
    std::wstring text(value.data.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), value.data.data(), text.size() * sizeof(wchar_t));
    // Just the terminator: an enciphered text may itself end with null characters.
    if (!text.empty() && text.back() == L'\0') text.pop_back();
    return text;
}

std::optional<com::Variant> ReadValue(HKEY hive, const std::wstring& path, const std::wstring& name) {
    const auto value = ReadRaw(hive, path, name);
    if (!value) return std::nullopt;
    if (value->type == REG_SZ) return com::Variant(StoredText(*value));
    if (value->type == REG_EXPAND_SZ) return com::Variant(Expanded(StoredText(*value)));
    if (value->type == REG_DWORD && value->data.size() == sizeof(LONG)) {
        LONG number = 0;
        std::memcpy(&number, value->data.data(), sizeof number);
        return com::Variant(number);
    }
    throw base::Error(DISP_E_TYPEMISMATCH, L"The registry value " + path + L"\\" + name +
                                               L" is neither text nor a 32-bit number.");
}

LSTATUS WriteNumber(HKEY hive, const std::wstring& path, const std::wstring& name, DWORD number) {
    return RegSetKeyValueW(hive, path.c_str(), name.c_str(), REG_DWORD, &number, sizeof number);
}

LSTATUS WriteValue(HKEY hive, const std::wstring& path, const std::wstring& name, const com::Variant& value) {
    switch (value.Get().vt) {
    case VT_I1:
    case VT_I2:
    case VT_I4:
    case VT_INT:
    case VT_UI1:
    case VT_UI2:
        return WriteNumber(hive, path, name, static_cast<DWORD>(value.Number()));
    case VT_UI4:
    case VT_UINT:
        return WriteNumber(hive, path, name, value.Get().ulVal);
    default: {
        const std::wstring text = value.Text();
        return RegSetKeyValueW(hive, path.c_str(), name.c_str(), REG_SZ, text.c_str(),
                               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    }
}

bool Exists(HKEY hive, const std::wstring& path, const std::wstring& name) {
    return RegGetValueW(hive, path.c_str(), name.c_str(), RRF_RT_ANY, nullptr, nullptr, nullptr) ==
           ERROR_SUCCESS;
}

}  // namespace

const std::wstring& ZNRegistry::Path() const {
    if (!m_hive) throw base::Error(E_UNEXPECTED, L"The registry object has no key yet: call Open first.");
    return m_path;
}

STDMETHODIMP ZNRegistry::Open(LONG Hive, LONG Product, BSTR SubKey) {
    return com::Call([&] {
        const HKEY hive = PredefinedKey(Hive);
        const auto& product = ProductOf(Product);
        const std::wstring subKey = com::Text(SubKey);
        m_path = product.path + (subKey.empty() ? L"" : L"\\" + subKey);
        m_hive = hive;
        m_usersToo = product.usersToo;
    });
}

STDMETHODIMP ZNRegistry::Read(BSTR Name, VARIANT Default, VARIANT* Value) {
    return com::Return(Value, [&] {
        const std::wstring name = com::Text(Name);
        std::optional<com::Variant> value;
        if (m_usersToo) value = ReadValue(HKEY_CURRENT_USER, Path(), name);
        if (!value) value = ReadValue(m_hive, Path(), name);
        return value ? *value : com::Variant(Default);
    });
}

STDMETHODIMP ZNRegistry::Write(BSTR Name, VARIANT Value) {
    return com::Call([&] {
        const std::wstring name = com::Text(Name);
        const com::Variant value(Value);
        LSTATUS status = WriteValue(m_hive, Path(), name, value);
        if (m_usersToo && m_hive != HKEY_CURRENT_USER) {
            // Read goes on finding a value of the user's. Without it, programs of the other bitness, and
            // those that the system shows another machine, would find none.
            const bool usersToo = status == ERROR_SUCCESS && Exists(HKEY_CURRENT_USER, m_path, name);
            if (usersToo || status == ERROR_ACCESS_DENIED)
                status = WriteValue(HKEY_CURRENT_USER, m_path, name, value);
        }
        if (status != ERROR_SUCCESS) base::ThrowWin32(static_cast<DWORD>(status), m_path + L"\\" + name);
    });
}
