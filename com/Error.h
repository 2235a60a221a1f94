// Failures on their way to the COM boundary.
#pragma once

#include <windows.h>

#include <exception>
#include <source_location>
#include <string>
#include <string_view>

namespace com {

/// One failure: what a caller gets as HRESULT and IErrorInfo, and what reports are made of.
struct Failure {
    HRESULT number = E_FAIL;
    std::wstring source;
    std::wstring description;
    unsigned line = 0;  ///< source line of the throw; 0 when unknown
};

/// Thrown inside the modules; never leaves a COM member (see Return and Call in Return.h).
class Error : public std::exception {
public:
    Error(HRESULT number, std::wstring description,
          std::source_location where = std::source_location::current());
    explicit Error(Failure failure) : m_failure(std::move(failure)) {}

    const Failure& failure() const noexcept { return m_failure; }
    const char* what() const noexcept override { return "com::Error"; }

private:
    Failure m_failure;
};

/// The system's own text for a Win32 error or HRESULT, on one line; never empty.
std::wstring SystemText(DWORD code);

/// Throws the failure of a Win32 call. subject: the file, key or name that it was about.
[[noreturn]] void ThrowWin32(DWORD code, std::wstring_view subject,
                             std::source_location where = std::source_location::current());

/// Throws when a COM call failed, with the description that the callee left in IErrorInfo, or the
/// system's text and the subject when it left none.
void Check(HRESULT result, std::wstring_view subject = {},
           std::source_location where = std::source_location::current());

/// The exception that is being handled, as a Failure. Call only inside a handler.
Failure CurrentFailure() noexcept;

/// Makes the exception that is being handled the thread's IErrorInfo and returns its HRESULT.
HRESULT PublishCurrentFailure() noexcept;

}  // namespace com
