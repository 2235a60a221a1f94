// Creates objects of registered classes.
#pragma once

#include <windows.h>
#include <objbase.h>
#include <wrl/client.h>

#include <string_view>

#include "com/ActivationContext.h"
#include "com/ErrorInfo.h"

namespace com {

/// A new object of an in-process class, made in the activation context in which the host created this
/// module's objects. subject: the class, for the failure that is thrown.
template <class Class, class Interface>
Microsoft::WRL::ComPtr<Interface> Create(std::wstring_view subject,
                                         base::Where where = base::Where::current()) {
    const Activation activation(KeptContext(), where);
    Microsoft::WRL::ComPtr<Interface> object;
    Check(CoCreateInstance(__uuidof(Class), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)), subject,
          where);
    return object;
}

/// Another interface of an object. Throws a failure.
template <class Interface, class Object>
Microsoft::WRL::ComPtr<Interface> As(Object* object, std::wstring_view subject = {},
                                     base::Where where = base::Where::current()) {
    Microsoft::WRL::ComPtr<Interface> other;
    Check(object->QueryInterface(IID_PPV_ARGS(&other)), subject, where);
    return other;
}

}  // namespace com
