// The library under test, with stand-ins for the host framework, in a COM apartment around each test.
#pragma once

#include <gtest/gtest.h>

#include "tests/win/support/Dll.h"
#include "tests/win/support/FrameworkDoubles.h"

namespace tests {

/// A fresh apartment, framework and library for each test.
class LibraryTest : public testing::Test {
protected:
    template <class Class, class Interface>
    Microsoft::WRL::ComPtr<Interface> Create() const {
        return library.Create<Class, Interface>();
    }

    Library library;
    ComApartment apartment;
    Framework framework;
};

}  // namespace tests
