// A person at the screen who answers dialogs with keyboard and eyes, from a thread of his own.
#pragma once

#include <windows.h>

#include <functional>
#include <stop_token>
#include <string>
#include <thread>

namespace tests {

/// A visible top-level window of this process.
class Screen {
public:
    explicit Screen(HWND window) : m_window(window) {}

    HWND Handle() const { return m_window; }
    bool IsOpen() const { return IsWindow(m_window) && IsWindowVisible(m_window); }
    std::wstring Caption() const { return TextOf(m_window); }
    std::wstring Text(int control) const { return TextOf(Control(control)); }
    bool IsEnabled(int control) const { return IsWindowEnabled(Control(control)); }
    bool IsChecked(int control) const { return SendMessageW(Control(control), BM_GETCHECK, 0, 0) != 0; }
    HWND Control(int control) const { return GetDlgItem(m_window, control); }
    /// Whether a control gets the keyboard before long.
    bool FocusReaches(int control) const;

    /// Empties a box and types into it, key by key.
    void Type(int control, const std::wstring& text) const;
    /// These go to the control that has the keyboard, one after the other; what they bring about takes time.
    void Key(WORD key) const { Post(WM_KEYDOWN, key); }
    void Mnemonic(wchar_t letter) const { Post(WM_SYSCHAR, static_cast<WPARAM>(letter)); }
    /// Presses a button with the mouse.
    void Click(int button) const { PostMessageW(Control(button), BM_CLICK, 0, 0); }

    /// Waits for a window with the caption; one that is not open when none came.
    static Screen Await(const std::wstring& caption);
    /// The window that this one brought up, such as a message box.
    Screen Popup() const;
    /// The text of a message box.
    std::wstring Message() const { return Text(0xFFFF); }
    /// Presses Enter and waits for the end of the window.
    void Confirm() const;
    void AwaitEnd() const;

private:
    static std::wstring TextOf(HWND window);
    HWND FocusedWindow() const;
    void Post(UINT message, WPARAM key) const;

    HWND m_window;
};

/// Polls for some seconds; false when it never came true.
bool Eventually(const std::function<bool()>& condition);

/// Waits for a dialog of this process with the caption, runs the script on it, and then closes every dialog
/// that comes until it is done with: a script that fails must not leave the test waiting.
class User {
public:
    User(std::wstring caption, std::function<void(const Screen&)> script);
    User(const User&) = delete;
    User& operator=(const User&) = delete;
    ~User() = default;

private:
    std::jthread m_thread;
};

}  // namespace tests
