// See Desktop.h.
#include "host/console/Desktop.h"

#include <windows.h>

bool ShowsWindows() noexcept {
    USEROBJECTFLAGS station{};
    return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &station, sizeof station,
                                     nullptr) &&
           (station.dwFlags & WSF_VISIBLE) != 0;
}
