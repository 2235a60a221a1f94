// The library under test, with stand-ins for the host framework around each test.
#pragma once

#include "tests/win/support/DllTest.h"
#include "tests/win/support/FrameworkDoubles.h"

namespace tests {

class LibraryTest : public DllTest {
protected:
    LibraryTest() : DllTest(L"znTransporter.dll") {}

    Framework framework;
};

}  // namespace tests
