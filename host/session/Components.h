// Objects of the library and of the framework, created for the host.
#pragma once

#include "com/Create.h"
#include "host/settings/Settings.h"

/// Throws the failure to create a component again, with what to do where files or registration are missing.
[[noreturn]] void ThrowNotCreated(const wchar_t* component, const base::Error& error);

/// component: ProgID of the class, for the message of the failure that is thrown.
template <class Class, class Interface>
Microsoft::WRL::ComPtr<Interface> CreateComponent(const wchar_t* component) try {
    return com::Create<Class, Interface>({});
} catch (const base::Error& error) {
    ThrowNotCreated(component, error);
}

/// Gives the framework what the settings allow. The library asks the framework while it starts, so this comes
/// before any other object.
void ConfigureFramework(const Settings& settings);
