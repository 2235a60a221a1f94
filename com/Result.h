// The COM boundary: the one place where results become out-parameters and exceptions become HRESULTs.
#pragma once

#include <wrl/client.h>

#include <concepts>
#include <type_traits>
#include <utility>

#include "com/ErrorInfo.h"
#include "com/RunningCall.h"
#include "com/Values.h"

namespace com {

inline void Put(VARIANT_BOOL* out, bool value) { *out = value ? VARIANT_TRUE : VARIANT_FALSE; }
inline void Put(LONG* out, LONG value) { *out = value; }
inline void Put(DOUBLE* out, DOUBLE value) { *out = value; }
inline void Put(BSTR* out, std::wstring_view value) { *out = Bstr(value).Release(); }
inline void Put(VARIANT* out, Variant value) { *out = value.Release(); }
template <class Interface>
void Put(Interface** out, Microsoft::WRL::ComPtr<Interface> value) {
    *out = value.Detach();
}

/// Runs the behaviour of a member without a result.
template <class Behaviour>
HRESULT Call(Behaviour&& behaviour) noexcept try {
    const RunningCall running;
    ClearErrorInfo();
    behaviour();
    return S_OK;
} catch (...) {
    return PublishCurrentFailure();
}

/// Runs the behaviour of a member and hands its result out, or hands out a value; on failure the result is
/// null.
template <class Out, class Behaviour>
HRESULT Return(Out* result, Behaviour&& behaviour) noexcept {
    if (!result) return E_POINTER;
    *result = Out{};
    return Call([&] {
        if constexpr (std::invocable<Behaviour>)
            Put(result, behaviour());
        else
            Put(result, behaviour);
    });
}

/// Hands out no object.
template <class Interface>
HRESULT ReturnNull(Interface** result) noexcept {
    if (!result) return E_POINTER;
    *result = nullptr;
    return S_OK;
}

inline void Take(std::wstring& field, BSTR value) { field = Text(value); }
inline void Take(LONG& field, LONG value) { field = value; }
inline void Take(bool& field, VARIANT_BOOL value) { field = value != VARIANT_FALSE; }

template <class Interface>
void Take(Microsoft::WRL::ComPtr<Interface>& field, Interface* value) {
    field = value;
}

/// The setter of a property that is a field.
template <class Field, class Value>
HRESULT Assign(Field& field, Value value) noexcept {
    return Call([&] { Take(field, value); });
}

/// An object that is called, and where: its conversion from a pointer notes the place of the call. It is held
/// meanwhile, because what it does may replace it where the pointer comes from.
template <class Interface>
struct Callee {
    Callee(Interface* called, base::Where from = base::Where::current()) : object(called), where(from) {}

    Microsoft::WRL::ComPtr<Interface> object;
    base::Where where;
};

template <class Value>
struct OutOf;
template <>
struct OutOf<bool> {
    VARIANT_BOOL raw = VARIANT_FALSE;
    VARIANT_BOOL* Put() { return &raw; }
    bool Take() { return raw != VARIANT_FALSE; }
};
template <>
struct OutOf<LONG> {
    LONG raw = 0;
    LONG* Put() { return &raw; }
    LONG Take() { return raw; }
};
template <>
struct OutOf<DOUBLE> {
    DOUBLE raw = 0;
    DOUBLE* Put() { return &raw; }
    DOUBLE Take() const { return raw; }
};
template <>
struct OutOf<std::wstring> {
    Bstr raw;
    BSTR* Put() { return raw.Put(); }
    std::wstring Take() { return raw.Text(); }
};
template <>
struct OutOf<Variant> {
    Variant raw;
    VARIANT* Put() { return raw.Put(); }
    Variant Take() { return std::move(raw); }
};

/// Calls a getter-like member of another object and returns its out-parameter as a C++ value:
/// Get<bool>(&I::Connect, object). Throws what the callee reported.
template <class Value, class Interface, class... Parameters, class... Arguments>
Value Get(HRESULT (STDMETHODCALLTYPE Interface::*member)(Parameters...),
          std::type_identity_t<Callee<Interface>> callee, Arguments... arguments) {
    OutOf<Value> out;
    Check((callee.object.Get()->*member)(arguments..., out.Put()), {}, callee.where);
    return out.Take();
}

}  // namespace com
