// See ZNBrandingResources.h.
#include "framework/ZNBrandingResources.h"

#include "base/Error.h"
#include "base/Module.h"
#include "com/Result.h"
#include "com/Values.h"
#include "framework/ResourceText.h"

std::wstring ResourceText(LONG id) {
    const wchar_t* text = nullptr;
    // With a length of 0 the system hands out the resource itself, which is not terminated.
    const int length = id < 0 || id > 0xFFFF ? 0
                                             : LoadStringW(base::ModuleHandle(), static_cast<UINT>(id),
                                                           reinterpret_cast<LPWSTR>(&text), 0);
    if (length == 0)
        throw base::Error(E_INVALIDARG,
                          L"There is no branding resource number " + std::to_wstring(id) + L".");
    return {text, static_cast<size_t>(length)};
}

STDMETHODIMP ZNBrandingResources::Text(VARIANT Id, BSTR* Value) {
    return com::Return(Value, [&] {
        const com::Variant id(Id);
        return id.Get().vt == VT_BSTR ? id.Text() : ResourceText(id.Number());
    });
}
