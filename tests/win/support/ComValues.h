// What COM members take and give, in the short forms of tests.
#pragma once

#include <gtest/gtest.h>
#include <wrl/client.h>

#include <concepts>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"

namespace tests {

using com::Bstr;
using com::Variant;
using Microsoft::WRL::ComPtr;

/// A text as an argument.
class In : public Bstr {
public:
    using Bstr::Bstr;
    operator BSTR() const noexcept { return Get(); }
};

inline In Argument(std::wstring_view text) { return In(text); }
template <class Value>
requires(!std::convertible_to<Value, std::wstring_view>) Value Argument(Value value) { return value; }
/// As com::Get, with texts for BSTR arguments.
template <class Value, class Interface, class... Parameters, class... Arguments>
Value Ask(HRESULT (STDMETHODCALLTYPE Interface::*member)(Parameters...), const ComPtr<Interface>& object,
          Arguments... arguments) {
    return com::Get<Value>(member, object.Get(), Argument(arguments)...);
}

/// An out-parameter as a careless caller leaves it.
template <class Pointer = void*>
Pointer Poison() {
    return reinterpret_cast<Pointer>(static_cast<ULONG_PTR>(0xDEAD));
}

/// The texts in an array of VARIANT with one dimension that begins at 0.
inline std::vector<std::wstring> Texts(const Variant& array) {
    std::vector<std::wstring> texts;
    EXPECT_EQ(array.Get().vt, VT_ARRAY | VT_VARIANT);
    const SAFEARRAY* const elements = array.Get().parray;
    EXPECT_TRUE(elements->cDims == 1 && elements->rgsabound[0].lLbound == 0);
    for (ULONG i = 0; i < elements->rgsabound[0].cElements; ++i)
        texts.push_back(Variant(static_cast<const VARIANT*>(elements->pvData)[i]).Text());
    return texts;
}

/// What an action throws.
inline base::Failure FailureOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const base::Error& error) {
        return error.failure();
    }
    return {S_OK, {}, L"(nothing was thrown)", {}};
}

/// What a call left to say about its failure.
inline std::wstring WhyFailed(HRESULT result) {
    return FailureOf([&] { com::Check(result); }).description;
}

/// Checks that each interface of an object leads to each other, and back to the object's one identity.
inline void ExpectOneIdentity(IUnknown* object, std::span<const IID> ids) {
    for (const IID& from : ids) {
        ComPtr<IUnknown> face;
        ASSERT_EQ(object->QueryInterface(from, reinterpret_cast<void**>(face.GetAddressOf())), S_OK);
        for (const IID& to : ids) {
            ComPtr<IUnknown> other;
            EXPECT_EQ(face->QueryInterface(to, reinterpret_cast<void**>(other.GetAddressOf())), S_OK);
        }
        ComPtr<IUnknown> identity;
        EXPECT_EQ(face->QueryInterface(IID_PPV_ARGS(&identity)), S_OK);
        EXPECT_EQ(identity.Get(), object);
    }
    auto* other = Poison();
    EXPECT_EQ(object->QueryInterface(IID_IStream, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

}  // namespace tests
