// See Dialog.h.
#include "ui/Dialog.h"

#include <utility>

#include "base/Module.h"
#include "base/SystemError.h"
#include "common/Report.h"
#include "common/modZNStartup.h"

bool Dialog::ShowModal() {
    if (!UserInterfaceIsAllowed()) {
        Procedure(std::wstring(m_name) + L".frm.Show")
            .Report(std::wstring(L"Attempted to show the dialog ") + m_name +
                    L" and a user interface is not supported.");
        return false;
    }
    // The template lies in the module that this code is linked into, which need not be the program.
    const INT_PTR result = DialogBoxParamW(base::ModuleHandle(), m_name, GetActiveWindow(), &DialogProcedure,
                                           reinterpret_cast<LPARAM>(this));
    const DWORD error = GetLastError();
    m_window = nullptr;
    if (m_failure) std::rethrow_exception(std::exchange(m_failure, nullptr));
    if (result == -1) base::ThrowWin32(error, std::wstring(L"dialog ") + m_name);
    return result == IDOK;
}

void Dialog::Close(bool accepted) { EndDialog(m_window, accepted ? IDOK : IDCANCEL); }

INT_PTR CALLBACK Dialog::DialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<Dialog*>(lParam)->m_window = window;
    }
    auto* const dialog = reinterpret_cast<Dialog*>(GetWindowLongPtrW(window, DWLP_USER));
    // Some messages come before WM_INITDIALOG.
    if (!dialog) return FALSE;
    try {
        return dialog->Answer(message, wParam);
    } catch (...) {
        // An exception cannot pass through the system's message loop; ShowModal throws it again.
        dialog->m_failure = std::current_exception();
        dialog->Close(false);
        return TRUE;
    }
}

INT_PTR Dialog::Answer(UINT message, WPARAM wParam) {
    switch (message) {
    case WM_INITDIALOG:
        // The window of a console program is not the foreground's, and covers the dialog.
        if (!GetWindow(m_window, GW_OWNER)) SetForegroundWindow(m_window);
        Focus(Load());
        return FALSE;  // the focus is where it belongs
    case WM_COMMAND:
        Command(LOWORD(wParam), HIWORD(wParam));
        return TRUE;
    default:
        return FALSE;
    }
}

HWND Dialog::Control(int control) const { return GetDlgItem(m_window, control); }

void Dialog::Focus(int control) const {
    // Unlike SetFocus, this selects the text of a box and moves the default button's frame.
    SendMessageW(m_window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(Control(control)), TRUE);
}

void Dialog::SetCaption(const std::wstring& text) const { SetWindowTextW(m_window, text.c_str()); }

std::wstring Dialog::Text(int control) const {
    const HWND window = Control(control);
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)), L'\0');
    const int length = GetWindowTextW(window, text.data(), static_cast<int>(text.size()) + 1);
    text.resize(static_cast<size_t>(length));
    return text;
}

void Dialog::SetText(int control, const std::wstring& text) const {
    SetWindowTextW(Control(control), text.c_str());
}

bool Dialog::IsChecked(int control) const {
    return SendMessageW(Control(control), BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void Dialog::SetChecked(int control, bool checked) const {
    SendMessageW(Control(control), BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

void Dialog::LimitText(int box, int characters) const {
    SendMessageW(Control(box), EM_SETLIMITTEXT, static_cast<WPARAM>(characters), 0);
}

void Dialog::Enable(int control, bool enabled) const { EnableWindow(Control(control), enabled); }

namespace {

void DropMessages(UINT first, UINT last) {
    MSG message;
    while (PeekMessageW(&message, nullptr, first, last, PM_REMOVE))
        // Comes whatever is asked for, and is the message loop's.
        if (message.message == WM_QUIT) return PostQuitMessage(static_cast<int>(message.wParam));
}

}  // namespace

WaitCursor::~WaitCursor() {
    DropMessages(WM_KEYFIRST, WM_KEYLAST);
    DropMessages(WM_MOUSEFIRST, WM_MOUSELAST);
    SetCursor(m_previous);
}
