// See ZNStartup.h.
#include "framework/ZNStartup.h"

#include "base/Error.h"
#include "com/Result.h"
#include "com/Values.h"
#include "framework/HostSettings.h"
#include "framework/ResourceText.h"

namespace {

com::Variant StartupEntry(LONG number) {
    switch (number) {
    case 110:  // binary difference encoder
    case 120:  // folder-copy sender/receiver
    case 140:  // zip encoder
        return com::Variant(ResourceText(number));
    case 145:  // the tool itself: a branding resource that the caller looks up
        return com::Variant(number);
    default:
        throw base::Error(E_INVALIDARG,
                          L"The start-up service has no entry number " + std::to_wstring(number) + L".");
    }
}

}  // namespace

STDMETHODIMP ZNStartup::Initialize(BSTR Title) {
    return com::Call([&] {
        const std::wstring title = com::Text(Title);
        // The event log of Windows refuses entries of a source without a name.
        if (!title.empty()) HostSettings::OfProcess().Title(title);
    });
}

STDMETHODIMP ZNStartup::Entry(LONG Number, VARIANT, VARIANT* Value) {
    return com::Return(Value, [&] { return StartupEntry(Number); });
}
