// A console whose text is not marked by a click: as long as text is marked, whoever writes waits.
#pragma once

#include <windows.h>

#include "base/Handle.h"

/// While it exists; only the user's own command to mark text still works.
class UnmarkedConsole {
public:
    UnmarkedConsole() noexcept;
    UnmarkedConsole(const UnmarkedConsole&) = delete;
    UnmarkedConsole& operator=(const UnmarkedConsole&) = delete;
    ~UnmarkedConsole();

private:
    base::FileHandle m_input;
    DWORD m_before = 0;
};
