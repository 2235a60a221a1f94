// See ZNApplicationContext.h.
#include "framework/ZNApplicationContext.h"

#include "base/Error.h"
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

STDMETHODIMP ZNApplicationContext::LimitLogFile(LONG Kilobytes, LONG Kept) {
    return com::Call([&] {
        if (Kilobytes < 0 || Kept < 0)
            throw base::Error(E_INVALIDARG, L"A limit of the log file is negative.");
        constexpr std::uint64_t kKilobyte = 1024;
        HostSettings::OfProcess().LogLimits({.size = static_cast<std::uint64_t>(Kilobytes) * kKilobyte,
                                             .kept = static_cast<std::size_t>(Kept)});
    });
}
