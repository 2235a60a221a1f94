// A modal dialog made from a template among the module's resources. A dialog class derives from it, fills
// the controls in Load and answers the user in Command.
#pragma once

#include <windows.h>

#include <exception>
#include <string>

#include "common/Report.h"

class Dialog {
public:
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

protected:
    /// name: of the template, and of the dialog in reports.
    explicit Dialog(const wchar_t* name) : m_name(name) {}
    ~Dialog() = default;

    /// Shows the dialog until Close, and returns what Close was given. False at once, with a report, where
    /// the host allows no user interface. Throws what Load or Command threw, which closes the dialog.
    bool ShowModal();
    void Close(bool accepted);

    /// Fills the controls; the dialog is not visible yet. Returns the control that gets the focus.
    virtual int Load() = 0;
    /// The user did something with a control. code: its notification, such as BN_CLICKED or EN_CHANGE.
    virtual void Command(int control, int code) = 0;

    HWND Window() const { return m_window; }
    void SetCaption(const std::wstring& text) const;
    std::wstring Text(int control) const;
    void SetText(int control, const std::wstring& text) const;
    bool IsChecked(int control) const;
    void SetChecked(int control, bool checked) const;
    void Enable(int control, bool enabled) const;
    /// The keyboard goes to a control, whose text is selected.
    void Focus(int control) const;
    int FocusedControl() const { return GetDlgCtrlID(GetFocus()); }
    /// Shows at once what has changed, although the message loop may not run for long.
    void Repaint() const { RedrawWindow(m_window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN); }
    /// The user can type no more than these characters.
    void LimitText(int box, int characters) const;

private:
    static INT_PTR CALLBACK DialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    INT_PTR Answer(UINT message, WPARAM wParam);
    HWND Control(int control) const;

    const wchar_t* m_name;
    HWND m_window = nullptr;
    std::exception_ptr m_failure;
};

/// Shows the hourglass while it exists. What the user typed and clicked meanwhile is dropped: it would answer
/// a box that nobody has seen yet.
class WaitCursor {
public:
    WaitCursor() : m_previous(SetCursor(LoadCursor(nullptr, IDC_WAIT))) {}
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
    ~WaitCursor();

private:
    HCURSOR m_previous;
};
