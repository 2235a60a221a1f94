// Keeps the system from asking the user: a message box about an empty card reader would stop an unattended
// host for good.
#pragma once

#include <windows.h>

namespace base {

inline constexpr UINT kAskNobody = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;

/// In this process, and those that it starts; not even whether to close it when it crashes. A library leaves
/// that to its host.
inline void AskNobody() noexcept { SetErrorMode(SetErrorMode(0) | kAskNobody | SEM_NOGPFAULTERRORBOX); }

/// On this thread, while it exists.
class QuietThread {
public:
    QuietThread() noexcept { SetThreadErrorMode(GetThreadErrorMode() | kAskNobody, &m_before); }
    QuietThread(const QuietThread&) = delete;
    QuietThread& operator=(const QuietThread&) = delete;
    ~QuietThread() { SetThreadErrorMode(m_before, nullptr); }

private:
    DWORD m_before = 0;
};

}  // namespace base
