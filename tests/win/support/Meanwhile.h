// Does something while a call of the library processes the window messages of its host.
#pragma once

#include <windows.h>

#include <functional>
#include <utility>

namespace tests {

/// Once. One exists at a time.
class Meanwhile {
public:
    explicit Meanwhile(std::function<void()> action, UINT milliseconds = USER_TIMER_MINIMUM)
        : m_timer(SetTimer(nullptr, 0, milliseconds, &Call)) {
        s_action = std::move(action);
    }
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;
    ~Meanwhile() { KillTimer(nullptr, m_timer); }

private:
    /// No lambda: it has no calling convention of its own, and 32-bit Windows calls back by another one.
    static void CALLBACK Call(HWND, UINT, UINT_PTR timer, DWORD) {
        KillTimer(nullptr, timer);
        std::exchange(s_action, [] {})();
    }

    static inline std::function<void()> s_action;
    const UINT_PTR m_timer;
};

}  // namespace tests
