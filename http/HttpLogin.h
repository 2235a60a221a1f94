// How requests to a site log in: to the server, in the way that its settings choose and no other, and to a
// proxy.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "http/DigestLogin.h"
#include "http/HttpRequest.h"
#include "http/HttpSite.h"

/// For one request after the other.
class HttpLogin {
public:
    /// Throws for a kind of login that is none.
    explicit HttpLogin(const HttpSite& site);

    /// Whether a login is an exchange of its own: then a request without a body begins it.
    bool IsAsked() const noexcept { return m_kind != Kind::Basic || !m_proxyUser.empty(); }

    /// What the system shall leave alone, as WINHTTP_DISABLE_*.
    DWORD FeaturesNotUsed() const noexcept { return IsLoginOfSystem() ? 0 : WINHTTP_DISABLE_AUTHENTICATION; }

    enum class When { AtOnce, Asked };
    /// Begins a request. when: whether the server learns who asks before it wants to.
    void Begin(HttpRequest& request, const wchar_t* method, const std::wstring& path, When when);
    /// Whether the request shall be sent again, for the server, or the proxy, has refused it and can be told
    /// more.
    bool Answer(HttpRequest& request, DWORD status);
    /// What the server takes instead, when it does not take this kind of login, in words; empty when it does.
    std::wstring Mismatch(const HttpRequest& request) const;

private:
    enum class Kind { Basic, Digest, Ntlm, Negotiate };
    struct KindOfLogin;

    bool IsMadeBySystem() const noexcept { return m_kind == Kind::Ntlm || m_kind == Kind::Negotiate; }
    bool IsLoginOfSystem() const noexcept { return IsMadeBySystem() || !m_proxyUser.empty(); }
    static const KindOfLogin& KindNamed(const std::wstring& name);
    bool AnswerServer(HttpRequest& request);
    bool AnswerProxy(HttpRequest& request);
    void Authorize(HttpRequest& request);
    bool IsOffered(const HttpRequest& request) const;

    const KindOfLogin* m_kindOfLogin;
    Kind m_kind;
    std::wstring m_user, m_password, m_proxyUser, m_proxyPassword;
    std::optional<DigestLogin> m_digest;
    bool m_hasAnswered = false;  ///< the server has asked for a login
    DWORD m_proxyScheme = 0;     ///< that the proxy was answered by; 0 before

    // Of the current request.
    std::wstring m_method, m_path;
    bool m_isAuthorized = false;
    bool m_isProxyAnswered = false;
};
