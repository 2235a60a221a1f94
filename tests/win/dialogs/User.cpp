// See User.h.
#include "tests/win/dialogs/User.h"

#include <gtest/gtest.h>

#include <utility>

namespace tests {

namespace {

struct Wanted {
    std::function<bool(HWND)> matches;
    HWND found = nullptr;
};

BOOL CALLBACK Look(HWND window, LPARAM parameter) {
    auto& wanted = *reinterpret_cast<Wanted*>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == GetCurrentProcessId() && IsWindowVisible(window) && wanted.matches(window))
        wanted.found = window;
    return !wanted.found;
}

/// A dialog behind a message box is disabled, and must stay: the request would be lost on it.
BOOL CALLBACK CloseIfOurs(HWND window, LPARAM) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == GetCurrentProcessId() && IsWindowVisible(window) && IsWindowEnabled(window))
        PostMessageW(window, WM_CLOSE, 0, 0);
    return TRUE;
}

HWND AwaitWindow(std::function<bool(HWND)> matches) {
    Wanted wanted{std::move(matches)};
    Eventually([&] {
        EnumWindows(&Look, reinterpret_cast<LPARAM>(&wanted));
        return wanted.found != nullptr;
    });
    return wanted.found;
}

}  // namespace

bool Eventually(const std::function<bool()>& condition) {
    for (int i = 0; i < 500; ++i) {
        if (condition()) return true;
        Sleep(20);
    }
    return false;
}

std::wstring Screen::TextOf(HWND window) {
    std::wstring text(static_cast<size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)), L'\0');
    SendMessageW(window, WM_GETTEXT, text.size() + 1, reinterpret_cast<LPARAM>(text.data()));
    return text;
}

HWND Screen::FocusedWindow() const {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(m_window, nullptr), &info);
    return info.hwndFocus;
}

bool Screen::FocusReaches(int control) const {
    return Eventually([&] { return FocusedWindow() == Control(control); });
}

void Screen::Type(int control, const std::wstring& text) const {
    SendMessageW(Control(control), EM_SETSEL, 0, -1);
    SendMessageW(Control(control), WM_CHAR, VK_BACK, 0);
    for (const wchar_t letter : text)
        SendMessageW(Control(control), WM_CHAR, static_cast<WPARAM>(letter), 0);
}

void Screen::Post(UINT message, WPARAM key) const {
    EXPECT_TRUE(Eventually([this] { return IsChild(m_window, FocusedWindow()); })) << "never got the focus";
    // Bit 29 of a system character tells that Alt is down.
    PostMessageW(FocusedWindow(), message, key, message == WM_SYSCHAR ? 1 << 29 : 0);
}

Screen Screen::Await(const std::wstring& caption) {
    return Screen(AwaitWindow([&](HWND window) { return TextOf(window) == caption; }));
}

Screen Screen::Popup() const {
    return Screen(AwaitWindow([this](HWND window) { return GetWindow(window, GW_OWNER) == m_window; }));
}

void Screen::Confirm() const {
    Key(VK_RETURN);
    AwaitEnd();
}

void Screen::AwaitEnd() const {
    EXPECT_TRUE(Eventually([this] { return !IsOpen(); })) << "the window stays";
}

User::User(std::wstring caption, std::function<void(const Screen&)> script)
    : m_thread([caption = std::move(caption), script = std::move(script)](const std::stop_token& done) {
          const Screen screen = Screen::Await(caption);
          EXPECT_TRUE(screen.IsOpen()) << "no dialog";
          if (screen.IsOpen()) script(screen);
          for (; !done.stop_requested(); Sleep(20))
              EnumWindows(&CloseIfOurs, 0);
      }) {}

}  // namespace tests
