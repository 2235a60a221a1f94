// The texts of the reference framework, behind the stand-ins of the tests.
#pragma once

#include "base/Module.h"
#include "tests/win/support/FrameworkDoubles.h"

namespace tests {

/// The framework's string table must be a resource of the calling program, too.
inline void TakeProductTexts(Framework& framework) {
    const auto take = [&](LONG first, LONG last) {
        for (LONG number = first; number <= last; ++number) {
            wchar_t text[256];
            if (LoadStringW(base::ModuleHandle(), static_cast<UINT>(number), text, 256) != 0)
                framework.resources[number] = text;
        }
    };
    take(100, 199);
    take(12000, 12200);
}

}  // namespace tests
