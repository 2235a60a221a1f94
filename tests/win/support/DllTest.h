// Base of tests that drive the classes of one DLL.
#pragma once

#include <gtest/gtest.h>

#include "tests/win/support/Dll.h"

namespace tests {

/// The DLL and a COM apartment around each test.
class DllTest : public testing::Test {
protected:
    explicit DllTest(const wchar_t* name) : library(name) {}

    template <class Class, class Interface>
    Microsoft::WRL::ComPtr<Interface> Create() const {
        return library.Create<Class, Interface>();
    }

    Library library;
    ComApartment apartment;
};

}  // namespace tests
