// The way to one server: each request to it is opened here, with what all of them have in common.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "http/ClientCertificate.h"
#include "http/HttpError.h"
#include "http/HttpLogin.h"
#include "http/HttpRequest.h"
#include "http/HttpSite.h"

/// A request that was sent, and the status that came.
struct HttpAnswer {
    HttpRequest request;
    DWORD status = 0;
};

/// Encrypted by TLS 1.2 or later, with a certificate that the system trusts, and a key that is pinned where
/// the settings say so; the login leaves only after that was seen. Redirects are not followed: the system
/// would take login and content along to a stranger.
class HttpConnection {
public:
    /// Throws for settings that cannot be used: a URL that is none, or is not encrypted and leads to another
    /// computer. goOn: asked while a request waits.
    HttpConnection(const HttpSite& site, HttpRequest::GoOn goOn);

    using Send = std::function<void(HttpRequest&)>;

    /// A request that its caller sends, once. path: percent-encoded, below that of the site; empty for the
    /// site itself. Greets first.
    HttpRequest Open(const wchar_t* method, std::string_view path) const;
    /// Greets, opens a request, and has it sent, and again as the login asks for it. Where the login is
    /// refused already when it is begun, that is the answer. send: sends it, after the headers of its own.
    HttpAnswer Ask(const wchar_t* method, std::string_view path, const Send& send) const;
    /// What the server takes instead of the kind of login that it has refused, in words; empty when it takes
    /// it.
    std::wstring LoginMismatch(const HttpRequest& request) const { return m_login->Mismatch(request); }

    /// Such a path as another request names it: with the server, and without it.
    std::wstring UrlOf(std::string_view path) const;
    std::wstring PathOf(std::string_view path) const;
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
    HttpAnswer Ask(const wchar_t* method, std::string_view path, const Send& send,
                   HttpLogin::When when) const;
    DWORD Exchange(HttpRequest& request, const Send& send) const;
    /// Has a request without a body begin the login, and look at the server's key, where that was not done a
    /// moment ago. path: of the request that follows; an account may reach no other one. The answer where the
    /// login is refused.
    std::optional<HttpAnswer> Greet(std::string_view path) const;
    /// After a failure: whether the next attempt will not ask whether the certificate was revoked, for nobody
    /// answers that.
    bool SparesRevocation(const HttpError& failure) const;
    void Secure(HttpRequest& request) const;
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
