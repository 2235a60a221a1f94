// Ends a run that waits for somebody who never answers.
#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>

#include "base/Handle.h"

/// Ends the process once nothing was heard for a while. Some waits of the system have no end, such as that
/// for a data connection which a firewall keeps away: a computer that works by itself would be stuck for
/// good.
class Watchdog {
public:
    /// patience: none for ever.
    explicit Watchdog(std::chrono::seconds patience);
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog();

    /// Something happened.
    void Hear() noexcept;

private:
    static DWORD WINAPI Watch(void* watchdog);
    std::chrono::milliseconds TimeLeft() const;
    void EndIfIdle();

    const std::chrono::seconds m_patience;
    std::atomic<std::chrono::milliseconds> m_heard;  ///< the time awake when something happened last
    base::KernelHandle m_end;                        ///< an event
    base::KernelHandle m_thread;
    std::uint64_t m_transferred;
};
