// Base of the framework's tests: its DLL, in a COM apartment.
#pragma once

#include <gmock/gmock.h>

#include "tests/win/support/Dll.h"

namespace tests {

class FrameworkTest : public testing::Test {
protected:
    template <class Class, class Interface>
    Microsoft::WRL::ComPtr<Interface> Create() const {
        return library.Create<Class, Interface>();
    }

    Library library{L"znFramework.dll"};
    ComApartment apartment;
};

}  // namespace tests
