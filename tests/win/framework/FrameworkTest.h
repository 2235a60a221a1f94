// Base of the framework's tests.
#pragma once

#include <gmock/gmock.h>

#include "tests/win/support/DllTest.h"

namespace tests {

class FrameworkTest : public DllTest {
protected:
    FrameworkTest() : DllTest(L"znFramework.dll") {}
};

}  // namespace tests
