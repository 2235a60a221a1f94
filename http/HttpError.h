// Why a request to a server got no answer.
#pragma once

#include <windows.h>

#include <string>

#include "base/Error.h"

/// What is wrong with a connection, in words that tell the way out.
class HttpError : public base::Error {
public:
    using Where = base::Where;

    /// code: of WinHTTP or the system. certificate: what is wrong with the server's, as
    /// WINHTTP_CALLBACK_STATUS_FLAG_*; 0 where nothing is.
    HttpError(DWORD code, const std::wstring& server, DWORD certificate = 0, Where where = Where::current());

    /// The server has another key than those that are pinned. pin: that of its key.
    static HttpError OfPin(const std::wstring& server, const std::wstring& pin,
                           Where where = Where::current());

    /// Nothing is wrong but that nobody tells whether the certificate has been revoked.
    bool IsOfRevocation() const noexcept;
    /// The user or the host wanted an end.
    bool IsCancelled() const noexcept { return m_code == ERROR_CANCELLED; }

private:
    HttpError(DWORD code, const std::wstring& text, Where where)
        : base::Error(HRESULT_FROM_WIN32(code), text, where), m_code(code) {}

    DWORD m_code;
    DWORD m_certificate = 0;
};
