// See UnmarkedConsole.h.
#include "host/console/UnmarkedConsole.h"

// Without a console there is none of that name, and its handle does nothing.
UnmarkedConsole::UnmarkedConsole() noexcept
    : m_input(CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                          nullptr, OPEN_EXISTING, 0, nullptr)) {
    if (GetConsoleMode(m_input.Get(), &m_before))
        SetConsoleMode(m_input.Get(),
                       (m_before | ENABLE_EXTENDED_FLAGS) & ~static_cast<DWORD>(ENABLE_QUICK_EDIT_MODE));
    else
        m_input.Reset();
}

UnmarkedConsole::~UnmarkedConsole() {
    if (m_input) SetConsoleMode(m_input.Get(), m_before | ENABLE_EXTENDED_FLAGS);
}
