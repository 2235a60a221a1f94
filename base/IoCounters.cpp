// See IoCounters.h.
#include "base/IoCounters.h"

#include <windows.h>

namespace base {

std::uint64_t TransferredBytes() noexcept {
    IO_COUNTERS counters{};
    GetProcessIoCounters(GetCurrentProcess(), &counters);
    return counters.ReadTransferCount + counters.WriteTransferCount + counters.OtherTransferCount;
}

}  // namespace base
