// A program that a test starts.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "base/Handle.h"

namespace tests {

class Process {
public:
    explicit Process(std::wstring command) {
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                   &startup, &process));
        const base::KernelHandle thread(process.hThread);
        m_process = base::KernelHandle(process.hProcess);
    }

    /// Once it has ended.
    DWORD ExitCode() const {
        DWORD code = ~0u;
        WaitForSingleObject(m_process.Get(), 60000);
        GetExitCodeProcess(m_process.Get(), &code);
        return code;
    }

private:
    base::KernelHandle m_process;
};

}  // namespace tests
