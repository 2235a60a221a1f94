// Creates objects of the host framework. A host replaces one of them by registering its own class.
#pragma once

#include <wrl/client.h>

#include "com/Error.h"
#include "com/Text.h"
#include "znFramework.h"

template <class Class, class Interface>
Microsoft::WRL::ComPtr<Interface> CreateFrameworkObject() {
    Microsoft::WRL::ComPtr<Interface> object;
    com::Check(CoCreateInstance(__uuidof(Class), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)),
               L"class " + com::Text(__uuidof(Class)) +
                   L" of the host framework; is znFramework.dll registered?");
    return object;
}
