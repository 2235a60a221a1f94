// See ZNApplicationContext.h.
#include "framework/ZNApplicationContext.h"

#include "com/Result.h"
#include "com/Values.h"
#include "framework/HostSettings.h"

STDMETHODIMP ZNApplicationContext::get_UserInterface(VARIANT_BOOL* Value) {
    return com::Return(Value, [] { return HostSettings::OfProcess().UserInterface(); });
}

STDMETHODIMP ZNApplicationContext::put_UserInterface(VARIANT_BOOL Value) {
    return com::Call([&] { HostSettings::OfProcess().UserInterface(Value != VARIANT_FALSE); });
}

STDMETHODIMP ZNApplicationContext::put_LogFile(BSTR Path) {
    return com::Call([&] { HostSettings::OfProcess().LogFile(com::Text(Path)); });
}
