// What the compiler's stack protector calls for. Its own library would start the system's cryptography in
// every process, which takes longer than many a packet.
#include <windows.h>

#include <cstdint>
#include <initializer_list>

extern "C" {

/// Lies between the buffers of a function and what it returns to. Nobody outside the process may foresee it.
std::uintptr_t __stack_chk_guard = 0;

/// The guard was overwritten: the stack is not to be trusted, not even by handlers of exceptions.
[[noreturn]] void __stack_chk_fail() {
    RaiseFailFastException(nullptr, nullptr, 0);
    __builtin_unreachable();
}
}

namespace {

/// Mixes what differs from one process to the next, before anything else of the module runs.
[[gnu::constructor(101)]] void ChooseGuard() {
    FILETIME time;
    LARGE_INTEGER ticks;
    GetSystemTimeAsFileTime(&time);
    QueryPerformanceCounter(&ticks);
    std::uint64_t mixed = (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) + time.dwLowDateTime;
    for (const std::uint64_t other :
         {static_cast<std::uint64_t>(ticks.QuadPart),
          static_cast<std::uint64_t>(GetCurrentProcessId()) << 32 | GetCurrentThreadId(),
          static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&time))}) {
        mixed = (mixed ^ other) * 0x9E3779B97F4A7C15u;
        mixed ^= mixed >> 32;
    }
    __stack_chk_guard = static_cast<std::uintptr_t>(mixed);
}

}  // namespace
