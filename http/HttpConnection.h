// The way to one server: each request to it is opened here, with what all of them have in common.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "http/ClientCertificate.h"
#include "http/HttpError.h"
#include "http/HttpLogin.h"
#include "http/HttpRequest.h"
#include "http/HttpSite.h"

/// How a login was refused.
struct HttpRefusal {
    DWORD status = 0;          ///< 0 when it was not
    std::wstring reason = {};  ///< in words; empty where nothing but the status is known
};

/// Encrypted by TLS 1.2 or later, with a certificate that the system trusts, and a key that is pinned where
/// the settings say so; the login leaves only after that was seen. Redirects are not followed: the system
/// would take login and content along to a stranger.
class HttpConnection {
public:
    /// Throws for settings that cannot be used: a URL that is none, or is not encrypted and leads to another
    /// computer. goOn: asked while a request waits.
    HttpConnection(const HttpSite& site, HttpRequest::GoOn goOn);

    /// path: percent-encoded, below that of the site; empty for the site itself. Greets first.
    HttpRequest Open(const wchar_t* method, std::string_view path) const;
    /// Sends a request, and again as the login asks for it, and returns the status of the answer. send: sends
    /// it.
    DWORD Exchange(HttpRequest& request, const std::function<void(HttpRequest&)>& send) const;
    /// Has a request without a body begin the login, and look at the server's key, where that was not done a
    /// moment ago.
    HttpRefusal Greet() const;
    /// What the server takes instead of the kind of login that it has refused, in words; empty when it takes
    /// it.
    std::wstring LoginMismatch(const HttpRequest& request) const { return m_login->Mismatch(request); }
    /// After a failure: whether the next attempt will not ask whether the certificate was revoked, for nobody
    /// answers that.
    bool SparesRevocation(const HttpError& failure) const;

    /// The absolute form of such a path, as another request names it.
    std::wstring UrlOf(std::string_view path) const;
    /// Name and port, for reports.
    const std::wstring& Server() const noexcept { return m_server; }

private:
    /// What changes while requests are made.
    struct State {
        bool asksForRevocation = true;
        ULONGLONG answered = 0;  ///< when, in milliseconds; 0 for never
    };

    void OpenSession(const std::wstring& proxy);
    void SetLimits() const;
    HttpRequest Open(const wchar_t* method, std::string_view path, HttpLogin::When when) const;
    void Secure(HttpRequest& request) const;
    std::wstring PathOf(std::string_view path) const;
    [[noreturn]] void Fail(base::Where where = base::Where::current()) const;

    HttpRequest::GoOn m_goOn;
    std::unique_ptr<HttpLogin> m_login;
    std::shared_ptr<const PublicKeyPins> m_pins;  ///< none for any key
    Certificate m_clientCertificate;              ///< none for none
    std::wstring m_server;
    std::wstring m_origin;  ///< of the site, such as "https://server:8443"
    std::wstring m_folder;  ///< of the site, ending in "/"
    bool m_isSecure = true;
    std::unique_ptr<State> m_state;
    WinHttpHandle m_session;
    WinHttpHandle m_connection;
};
