// Runs one command line as a child process without a window.
#pragma once

#include <windows.h>

#include <string>

#include "base/Handle.h"

/// A process that its owner's end ends, too, with whatever it has started itself.
struct RunningProgram {
    base::KernelHandle process;
    base::KernelHandle job;  ///< that ends it
};

class clsShell {
public:
    clsShell() = default;
    clsShell(const clsShell&) = delete;
    clsShell& operator=(const clsShell&) = delete;
    /// Ends a process that still runs. The end of the calling process does so, too, however it comes.
    ~clsShell();

    /// The whole command line: program and arguments.
    void Command(std::wstring command) { m_sCommand = std::move(command); }
    const std::wstring& Command() const noexcept { return m_sCommand; }

    /// The path of the program that the command line begins with, where the caller knows it: no other one is
    /// started. Without it the system looks for the program, and tries "C:\Program.exe" for an unquoted
    /// "C:\Program Files\Zip.exe" first.
    void Program(std::wstring path) { m_sProgram = std::move(path); }

    /// Starts the process. 0 when it could not be started; Wait then returns at once.
    BOOL Execute();

    /// Whether the process ended within a time.
    bool Wait(DWORD Milliseconds);

    /// As Wait, by EndsProcessingMessages.
    bool WaitProcessingMessages(LONG Seconds);

    /// Ends the process by force, with what it has started itself.
    void Terminate();

    /// Lets the process run on without its runner, and hands it out; nothing where none runs.
    RunningProgram Detach();

private:
    std::wstring CommandLine() const;

    std::wstring m_sCommand;
    std::wstring m_sProgram;
    RunningProgram m_program;  // while it runs, as far as is known
};

/// Whether a process ends within some seconds, waited for in slices of 100 ms between which the host's window
/// messages are processed; even a time of 0 allows two slices. A null handle is that of one
/// that has ended.
bool EndsProcessingMessages(HANDLE process, LONG Seconds);
