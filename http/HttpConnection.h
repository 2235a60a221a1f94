// The way to one server: each request to it is opened here, with what all of them have in common.
#pragma once

#include <string>
#include <string_view>

#include "base/Error.h"
#include "http/HttpRequest.h"
#include "http/HttpSite.h"

/// Encrypted by TLS 1.2 or later, with a certificate that the system trusts; the login leaves only after that
/// was seen. Redirects are not followed: the system would take login and content along to a stranger.
class HttpConnection {
public:
    /// Throws for a URL that is none, or is not encrypted and leads to another computer. goOn: asked while a
    /// request waits.
    HttpConnection(const HttpSite& site, HttpRequest::GoOn goOn);

    /// path: percent-encoded, below that of the site; empty for the site itself.
    HttpRequest Open(const wchar_t* method, std::string_view path) const;
    /// The absolute form of such a path, as another request names it.
    std::wstring UrlOf(std::string_view path) const;
    /// Name and port, for reports.
    const std::wstring& Server() const noexcept { return m_server; }

private:
    void OpenSession();
    void SetLimits() const;
    std::wstring PathOf(std::string_view path) const;
    [[noreturn]] void Fail(base::Where where = base::Where::current()) const;

    HttpRequest::GoOn m_goOn;
    std::wstring m_server;
    std::wstring m_origin;         ///< of the site, such as "https://server:8443"
    std::wstring m_folder;         ///< of the site, ending in "/"
    std::wstring m_authorization;  ///< the header; empty without a user
    bool m_isSecure = true;
    WinHttpHandle m_session;
    WinHttpHandle m_connection;
};
