// See ZNCategory.h.
#include "framework/ZNCategory.h"

#include "base/Error.h"
#include "com/Result.h"

namespace {

std::wstring IdentifierOf(LONG code) {
    switch (code) {
    case ZN_CATEGORY_ENCODER:
        return L"{5932C0AE-6C7F-4627-AB8F-44ABEAE9741C}";
    case ZN_CATEGORY_SENDER_RECEIVER:
        return L"{660722FA-9EAA-4C04-9597-209D3E3F5C49}";
    default:
        throw base::Error(E_INVALIDARG,
                          L"There is no component category number " + std::to_wstring(code) + L".");
    }
}

}  // namespace

STDMETHODIMP ZNCategory::CategoryId(LONG Code, BSTR* Value) {
    return com::Return(Value, [&] { return IdentifierOf(Code); });
}
