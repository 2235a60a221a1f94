// Cycles again and again, until somebody wants them to stop.
#pragma once

#include <windows.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

struct LoopRequest {
    std::wstring settings;  ///< their file
    std::chrono::seconds interval{};
    std::vector<std::wstring> options = {};  ///< of the command run, for each cycle
    HANDLE stop = nullptr;                   ///< an event that can be inherited
    bool isAwaited = true;                   ///< the first cycle comes at once
    std::chrono::milliseconds timeToStop{};  ///< of a cycle, when the loop is to stop; INFINITE for no limit
    /// Opens what a cycle writes to; none for the loop's own output.
    std::function<HANDLE()> openOutput = {};
    /// Tells of a cycle that could not tell itself how it ended.
    std::function<void(const std::wstring& line)> tell;
};

/// Returns how the last cycle ended: a CycleEnd.
DWORD RunLoop(const LoopRequest& request);
