// One cycle of a loop, in a process of its own: what hangs or fails there does not end the loop, and the
// settings are read anew.
#pragma once

#include <windows.h>

#include <chrono>
#include <string>
#include <vector>

#include "base/Handle.h"

/// How a cycle ends, as its loop is told.
enum CycleEnd : DWORD {
    kCycleComplete = 0,
    kCycleFailed = 1,
    kCycleHadBadSettings = 2,
    /// Though the transfer worked: they need a person, not time. Far from 3, the code of a program that
    /// aborts.
    kCycleLeftPackets = 100,
};

struct CycleStart {
    std::wstring settings;              ///< their file
    std::vector<std::wstring> options;  ///< of the command run
    HANDLE stop = nullptr;              ///< an event that the process inherits, and ends after when it is set
    bool hasConsole = true;             ///< that of the loop, and its output
    HANDLE output = nullptr;            ///< a file that the process inherits, where there is no console
};

class CycleProcess {
public:
    /// Throws a failure.
    explicit CycleProcess(const CycleStart& start);

    HANDLE Handle() const noexcept { return m_process.Get(); }
    /// Waits; a process that does not end in time is ended, which loses nothing.
    void EndWithin(std::chrono::milliseconds time) const;
    /// One of CycleEnd, or the code of a process that crashed.
    DWORD ExitCode() const;

private:
    base::KernelHandle m_process;
};
