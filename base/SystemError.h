// Failures of calls into the system, and the exception that is being handled.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

#include "base/Error.h"

namespace base {

/// A call that the system refused: "<the system's text> (<subject>)".
class SystemError : public Error {
public:
    /// code: of GetLastError. action: what was tried, as a verb: "open". subject: the file, key or name that
    /// it was about; may be empty.
    SystemError(DWORD code, const char* action, std::wstring_view subject, Where where = Where::current());

    DWORD Code() const noexcept { return m_code; }
    const char* Action() const noexcept { return m_action; }
    const std::wstring& Subject() const noexcept { return m_subject; }

private:
    DWORD m_code;
    const char* m_action;
    std::wstring m_subject;
};

/// The system's own text for a Win32 error or HRESULT, on one line; never empty.
std::wstring SystemText(DWORD code);
/// The same, and what it was about.
std::wstring SystemText(DWORD code, std::wstring_view subject);

/// Throws the failure of a Win32 call.
[[noreturn]] void ThrowWin32(DWORD code, std::wstring_view subject, Where where = Where::current());

/// The exception that is being handled, as a Failure. Call only inside a handler.
Failure CurrentFailure() noexcept;

}  // namespace base
