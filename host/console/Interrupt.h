// The user's wish to stop: Ctrl+C, a closed console window, the end of the session.
#pragma once

/// While it exists, the program is not ended by the first Ctrl+C: the wish is noted, and the work at hand
/// ends where nothing is lost. The second one ends the program.
class Interrupt {
public:
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();

    static bool Requested() noexcept;
};
