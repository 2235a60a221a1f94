// Times as archives hold them: as MS-DOS did.
#pragma once

#include <cstdint>

#include "base/FileTime.h"

namespace companions::zip {

/// Local time in steps of two seconds, from 1980 to 2107.
struct DosTime {
    std::uint16_t time = 0;
    std::uint16_t date = 0;
};

/// Times outside of the range become its first or last moment.
DosTime ToDosTime(base::FileTime time);
base::FileTime FromDosTime(DosTime time);

}  // namespace companions::zip
