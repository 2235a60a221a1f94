// COM strings and variants as C++ values.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace com {

/// Owner of a BSTR.
class Bstr {
public:
    Bstr() = default;
    explicit Bstr(std::wstring_view text);
    Bstr(Bstr&& other) noexcept : m_text(std::exchange(other.m_text, nullptr)) {}
    Bstr(const Bstr&) = delete;
    Bstr& operator=(Bstr other) noexcept {
        std::swap(m_text, other.m_text);
        return *this;
    }
    ~Bstr() { SysFreeString(m_text); }

    BSTR Get() const noexcept { return m_text; }
    BSTR Release() noexcept { return std::exchange(m_text, nullptr); }
    /// For an out-parameter; the previous text is freed.
    BSTR* Put() noexcept;
    std::wstring Text() const;

private:
    BSTR m_text = nullptr;
};

/// The characters of a BSTR; a null BSTR is the empty text.
std::wstring Text(BSTR text);

/// Replaces the text of an in/out parameter.
void Replace(BSTR* target, std::wstring_view text);

/// Owner of a VARIANT.
class Variant {
public:
    Variant() { VariantInit(&m_value); }
    explicit Variant(std::wstring_view text);
    explicit Variant(LONG number);
    /// An array of VARIANT holding texts, with lower bound 0.
    static Variant Array(const std::vector<std::wstring>& texts);
    /// An object that scripts can call.
    static Variant Object(IDispatch* object);
    /// An array of VARIANT holding copies, with lower bound 0.
    static Variant Array(const std::vector<Variant>& values);

    Variant(Variant&& other) noexcept : m_value(other.m_value) { VariantInit(&other.m_value); }
    Variant(const Variant& other);
    explicit Variant(const VARIANT& other);
    Variant& operator=(Variant other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Variant() { VariantClear(&m_value); }

    const VARIANT& Get() const noexcept { return m_value; }
    VARIANT Release() noexcept;
    /// For an out-parameter; the previous value is cleared.
    VARIANT* Put() noexcept;
    bool IsEmpty() const noexcept { return m_value.vt == VT_EMPTY || m_value.vt == VT_NULL; }
    /// The value as text, as a script would see it. Throws when it cannot be converted.
    std::wstring Text() const;
    /// The value as a 32-bit number. Throws when it cannot be converted, naming the subject where given.
    LONG Number(std::wstring_view subject = {}) const;
    /// The value as True or False. Throws when it cannot be converted.
    bool Flag() const;

private:
    Variant Converted(VARTYPE type, std::wstring_view subject = {}) const;

    VARIANT m_value;
};

/// A GUID in braces.
std::wstring Text(const GUID& id);

}  // namespace com
