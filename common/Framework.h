// Creates objects of the host framework. A host replaces one of them by registering its own class.
#pragma once

#include <wrl/client.h>

#include "com/Create.h"
#include "com/Values.h"
#include "znFramework.h"

template <class Class, class Interface>
Microsoft::WRL::ComPtr<Interface> CreateFrameworkObject(base::Where where = base::Where::current()) {
    return com::Create<Class, Interface>(L"class " + com::Text(__uuidof(Class)) +
                                             L" of the host framework; is znFramework.dll registered?",
                                         where);
}
