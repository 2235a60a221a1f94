// See ZNLocale.h.
#include "framework/ZNLocale.h"

#include "com/Result.h"

namespace {

constexpr LCTYPE kReadingLayout = 0x70;  // LOCALE_IREADINGLAYOUT, not in every version of the headers
constexpr DWORD kRightToLeft = 1;

bool ReadsRightToLeft() {
    DWORD layout = 0;
    const int length =
        GetLocaleInfoW(LOCALE_USER_DEFAULT, kReadingLayout | LOCALE_RETURN_NUMBER,
                       reinterpret_cast<LPWSTR>(&layout), static_cast<int>(sizeof layout / sizeof(wchar_t)));
    return length != 0 && layout == kRightToLeft;
}

}  // namespace

STDMETHODIMP ZNLocale::get_RightToLeftReading(VARIANT_BOOL* Value) {
    return com::Return(Value, [] { return ReadsRightToLeft(); });
}
