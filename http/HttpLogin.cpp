// See HttpLogin.h.
#include "http/HttpLogin.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "cipher/Base64.h"

/// By its name in the settings, which is that of challenges, too.
struct HttpLogin::KindOfLogin {
    const wchar_t* name;
    Kind kind;
    DWORD scheme;  ///< of the system
};

namespace {

std::vector<HttpChallenge> ChallengesOf(const HttpRequest& request, DWORD query) {
    std::vector<HttpChallenge> challenges;
    for (const std::wstring& header : request.Headers(query))
        std::ranges::copy(ReadChallenges(base::ToUtf8(header)), std::back_inserter(challenges));
    return challenges;
}

std::string BytesOfLogin(const std::wstring& user, const std::wstring& password) {
    return base::ToUtf8(user) + ":" + base::ToUtf8(password);
}

}  // namespace

const HttpLogin::KindOfLogin& HttpLogin::KindNamed(const std::wstring& name) {
    static constexpr KindOfLogin kKinds[] = {{L"basic", Kind::Basic, WINHTTP_AUTH_SCHEME_BASIC},
                                             {L"digest", Kind::Digest, WINHTTP_AUTH_SCHEME_DIGEST},
                                             {L"ntlm", Kind::Ntlm, WINHTTP_AUTH_SCHEME_NTLM},
                                             {L"negotiate", Kind::Negotiate, WINHTTP_AUTH_SCHEME_NEGOTIATE}};
    if (name.empty()) return kKinds[0];
    const auto found = std::ranges::find_if(
        kKinds, [&](const KindOfLogin& kind) { return base::EqualsIgnoringCase(kind.name, name); });
    if (found == std::end(kKinds))
        throw base::Error(E_INVALIDARG, L"The login " + name +
                                            L" cannot be used: it must be basic, digest, ntlm or negotiate.");
    return *found;
}

HttpLogin::HttpLogin(const HttpSite& site)
    : m_kindOfLogin(&KindNamed(site.login)),
      m_kind(m_kindOfLogin->kind),
      m_user(site.user),
      m_password(site.password),
      m_proxyUser(site.proxyUser),
      m_proxyPassword(site.proxyPassword) {}

/// Who runs the program is told to nobody, unless that is what the settings choose.
void HttpLogin::Begin(HttpRequest& request, const wchar_t* method, const std::wstring& path, When when) {
    m_method = method;
    m_path = path;
    m_isAuthorized = m_isProxyAnswered = false;
    const bool asUser = m_kind == Kind::Negotiate && m_user.empty();
    if (IsLoginOfSystem())
        request.SetOption(WINHTTP_OPTION_AUTOLOGON_POLICY, asUser ? WINHTTP_AUTOLOGON_SECURITY_LEVEL_LOW
                                                                  : WINHTTP_AUTOLOGON_SECURITY_LEVEL_HIGH);
    if (m_proxyScheme != 0)
        request.SetCredentials(WINHTTP_AUTH_TARGET_PROXY, m_proxyScheme, m_proxyUser, m_proxyPassword);
    if (when == When::AtOnce && (m_kind == Kind::Basic || m_hasAnswered)) Authorize(request);
    // The system may make no use of its own login before the server asks for it.
    if (IsMadeBySystem()) m_isAuthorized = false;
}

void HttpLogin::Authorize(HttpRequest& request) {
    if (IsMadeBySystem())
        request.SetCredentials(WINHTTP_AUTH_TARGET_SERVER, m_kindOfLogin->scheme, m_user, m_password);
    else if (m_user.empty())
        return;
    else if (m_kind == Kind::Basic)
        request.AddHeader(L"Authorization: Basic " +
                          Base64Of(base::BytesOf(BytesOfLogin(m_user, m_password))));
    else
        request.AddHeader(L"Authorization: " + m_digest->HeaderValue(m_user, m_password, m_method, m_path));
    m_isAuthorized = true;
}

bool HttpLogin::Answer(HttpRequest& request, DWORD status) {
    if (status == HTTP_STATUS_DENIED) return AnswerServer(request);
    return status == HTTP_STATUS_PROXY_AUTH_REQ && AnswerProxy(request);
}

bool HttpLogin::AnswerServer(HttpRequest& request) {
    if (!IsOffered(request)) return false;
    const bool wasAuthorized = std::exchange(m_isAuthorized, false);
    if (m_kind == Kind::Digest) {
        m_digest = DigestLogin::In(ChallengesOf(request, WINHTTP_QUERY_WWW_AUTHENTICATE));
        if (!m_digest || (wasAuthorized && !m_digest->IsStale())) return false;
    } else if (wasAuthorized) {
        return false;
    }
    m_hasAnswered = true;
    Authorize(request);
    return m_isAuthorized;
}

/// By the best login that both know.
bool HttpLogin::AnswerProxy(HttpRequest& request) {
    if (m_proxyUser.empty() || std::exchange(m_isProxyAnswered, true)) return false;
    const DWORD offered = request.OfferedSchemes();
    for (const DWORD scheme : {WINHTTP_AUTH_SCHEME_NEGOTIATE, WINHTTP_AUTH_SCHEME_NTLM,
                               WINHTTP_AUTH_SCHEME_DIGEST, WINHTTP_AUTH_SCHEME_BASIC})
        if (offered & scheme) {
            m_proxyScheme = scheme;
            request.SetCredentials(WINHTTP_AUTH_TARGET_PROXY, scheme, m_proxyUser, m_proxyPassword);
            return true;
        }
    return false;
}

bool HttpLogin::IsOffered(const HttpRequest& request) const {
    const auto challenges = ChallengesOf(request, WINHTTP_QUERY_WWW_AUTHENTICATE);
    if (m_kind == Kind::Digest) return DigestLogin::In(challenges).has_value();
    return std::ranges::find(challenges, base::ToUtf8(m_kindOfLogin->name), &HttpChallenge::scheme) !=
           challenges.end();
}

std::wstring HttpLogin::Mismatch(const HttpRequest& request) const {
    if (IsOffered(request)) return {};
    std::wstring others;
    for (const HttpChallenge& challenge : ChallengesOf(request, WINHTTP_QUERY_WWW_AUTHENTICATE))
        others.append(others.empty() ? L"" : L", ").append(base::FromUtf8(challenge.scheme));
    if (others.empty()) return {};
    return L"it does not take the login " + std::wstring(m_kindOfLogin->name) + L", but " + others +
           L". Choose one of these by login, if you trust it";
}
