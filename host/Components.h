// Objects of the library and of the framework, created for the host.
#pragma once

#include <wrl/client.h>

#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "host/Settings.h"

/// Throws the failure to create a component again, with what to do about it.
[[noreturn]] void ThrowMissing(const wchar_t* component, const base::Error& error);

/// component: ProgID of the class, for the message of the failure that is thrown.
template <class Class, class Interface>
Microsoft::WRL::ComPtr<Interface> CreateComponent(const wchar_t* component) try {
    Microsoft::WRL::ComPtr<Interface> object;
    com::Check(CoCreateInstance(__uuidof(Class), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)));
    return object;
} catch (const base::Error& error) {
    ThrowMissing(component, error);
}

/// Gives the framework what the settings allow. The library asks the framework while it starts, so this comes
/// before any other object.
void ConfigureFramework(const Settings& settings);
