// The user's wish to stop: Ctrl+C, a closed console window, the end of the session.
#pragma once

#include <windows.h>

/// While it exists, the program is not ended by the first Ctrl+C: the wish is noted, and the work at hand
/// ends where nothing is lost. The second one ends the program.
class Interrupt {
public:
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();

    static bool Requested() noexcept;
    /// Set once the wish is final; other processes can inherit it.
    static HANDLE Event() noexcept;
    /// The program is a part of another one's work, which tells the user, and passes the wish on by this
    /// event. Called before there is an Interrupt.
    static void Follow(HANDLE event) noexcept;
};
