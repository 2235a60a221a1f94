// See HttpConnection.h.
#include "http/HttpConnection.h"

#include <cstdint>
#include <utility>

#include "base/Error.h"
#include "base/Number.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "http/HttpError.h"
#include "http/HttpSession.h"

namespace {

constexpr int kResolveTimeOut = 30'000;  // milliseconds
constexpr int kConnectTimeOut = 30'000;

// Names that the compiler's headers lack.
constexpr DWORD kTls12 = 0x00000800;
constexpr DWORD kTls13 = 0x00002000;
constexpr DWORD kIgnoreUnreachableRevocation = 155;

// A server keeps a connection, and its challenge to log in, at least as long as that.
constexpr ULONGLONG kFresh = 4000;  // milliseconds

struct Url {
    bool isSecure = true;
    std::wstring host;
    INTERNET_PORT port = 0;
    std::wstring path;
};

/// What stands before "@" may be a password.
[[noreturn]] void Refuse(const std::wstring& url, const std::wstring& why) {
    const size_t login = url.rfind(L'@');
    const std::wstring shown = login == std::wstring::npos ? url : L"..." + url.substr(login);
    throw base::Error(E_INVALIDARG, L"The URL " + shown + L" cannot be used: " + why + L".");
}

Url Parsed(const std::wstring& text) {
    URL_COMPONENTS parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwSchemeLength = parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwUserNameLength =
        parts.dwExtraInfoLength = static_cast<DWORD>(-1);
    if (!WinHttpCrackUrl(text.c_str(), 0, 0, &parts) || parts.dwHostNameLength == 0)
        Refuse(text, L"it must look like https://server/folder");
    if (parts.dwUserNameLength > 0) Refuse(text, L"user and password are settings of their own");
    if (parts.dwExtraInfoLength > 0) Refuse(text, L"it must end with a folder, without ? and #");
    return {parts.nScheme == INTERNET_SCHEME_HTTPS,
            {parts.lpszHostName, parts.dwHostNameLength},
            parts.nPort,
            {parts.lpszUrlPath, parts.dwUrlPathLength}};
}

/// Digits alone: a name may begin as an address does.
bool IsLoopbackAddress(std::wstring_view host) {
    std::size_t numbers = 1;
    for (std::size_t dot = host.find(L'.'); dot != std::wstring_view::npos; dot = host.find(L'.')) {
        if (numbers == 1 && host.substr(0, dot) != L"127") return false;
        if (!base::NumberIn<std::uint8_t>(host.substr(0, dot))) return false;
        host.remove_prefix(dot + 1);
        ++numbers;
    }
    return numbers == 4 && base::NumberIn<std::uint8_t>(host);
}

bool IsThisComputer(std::wstring_view host) {
    return IsLoopbackAddress(host) || host == L"[::1]" || host == L"::1" ||
           base::EqualsIgnoringCase(host, L"localhost");
}

/// proxy: server:port
bool IsOnThisComputer(std::wstring_view proxy) {
    const std::size_t colon = proxy.rfind(L':');
    return colon != std::wstring_view::npos && IsThisComputer(proxy.substr(0, colon)) &&
           base::NumberIn<INTERNET_PORT>(proxy.substr(colon + 1));
}

}  // namespace

HttpConnection::HttpConnection(const HttpSite& site, HttpRequest::GoOn goOn)
    : m_goOn(std::move(goOn)),
      m_login(std::make_unique<HttpLogin>(site)),
      m_state(std::make_unique<State>()) {
    const Url url = Parsed(site.url);
    m_isSecure = url.isSecure;
    if (!m_isSecure && !IsThisComputer(url.host))
        Refuse(site.url, L"packets and password would travel for everyone to read; use https");
    const std::wstring port = std::to_wstring(url.port);
    m_server = url.host + L":" + port;
    // As the system names the server to itself: some servers compare both.
    const INTERNET_PORT usual = m_isSecure ? INTERNET_DEFAULT_HTTPS_PORT : INTERNET_DEFAULT_HTTP_PORT;
    m_origin = (m_isSecure ? L"https://" : L"http://") + (url.port == usual ? url.host : m_server);
    m_folder = url.path.ends_with(L'/') ? url.path : url.path + L"/";
    if (PublicKeyPins pins(site.pins); m_isSecure && pins.AreSet())
        m_pins = std::make_shared<const PublicKeyPins>(std::move(pins));
    if (!site.clientCertificate.empty()) m_clientCertificate = FindClientCertificate(site.clientCertificate);
    OpenSession(site.proxy);
    m_connection = WinHttpHandle(WinHttpConnect(m_session.Get(), url.host.c_str(), url.port, 0));
    if (!m_connection) Fail();
}

/// What is not encrypted leaves this computer through no proxy either: to it, "localhost" is itself.
void HttpConnection::OpenSession(const std::wstring& proxy) {
    m_session = m_isSecure || IsOnThisComputer(proxy) ? NewHttpSession(proxy) : NewHttpSessionWithoutProxy();
    if (!m_session) Fail();
    SetLimits();
}

void HttpConnection::SetLimits() const {
    if (!WinHttpSetTimeouts(m_session.Get(), kResolveTimeOut, kConnectTimeOut, HttpRequest::kLongestWait,
                            HttpRequest::kLongestWait))
        Fail();
    // The later version is not known everywhere.
    for (DWORD protocols : {kTls12 | kTls13, kTls12})
        if (WinHttpSetOption(m_session.Get(), WINHTTP_OPTION_SECURE_PROTOCOLS, &protocols, sizeof protocols))
            return;
    Fail();
}

std::wstring HttpConnection::PathOf(std::string_view path) const { return m_folder + base::FromUtf8(path); }

std::wstring HttpConnection::UrlOf(std::string_view path) const { return m_origin + PathOf(path); }

HttpRequest HttpConnection::Open(const wchar_t* method, std::string_view path) const {
    Greet(path);
    return Open(method, path, HttpLogin::When::AtOnce);
}

HttpRequest HttpConnection::Open(const wchar_t* method, std::string_view path, HttpLogin::When when) const {
    const std::wstring place = PathOf(path);
    WinHttpHandle handle(WinHttpOpenRequest(m_connection.Get(), method, place.c_str(), nullptr,
                                            WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                            // The path is encoded already.
                                            WINHTTP_FLAG_ESCAPE_DISABLE | WINHTTP_FLAG_ESCAPE_DISABLE_QUERY |
                                                (m_isSecure ? WINHTTP_FLAG_SECURE : 0)));
    if (!handle) Fail();
    HttpRequest request(std::move(handle), m_server, m_pins, m_goOn);
    request.SetOption(WINHTTP_OPTION_DISABLE_FEATURE,
                      WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES | m_login->FeaturesNotUsed());
    request.AddHeader(L"Accept-Encoding: identity");
    if (m_isSecure) Secure(request);
    m_login->Begin(request, method, place, when);
    return request;
}

/// A list of revoked certificates that cannot be reached stops nobody, which not every Windows can be told.
void HttpConnection::Secure(HttpRequest& request) const {
    if (m_clientCertificate) request.SetClientCertificate(m_clientCertificate.Get());
    if (m_state->asksForRevocation && request.TrySetOption(kIgnoreUnreachableRevocation, TRUE))
        request.SetOption(WINHTTP_OPTION_ENABLE_FEATURE, WINHTTP_ENABLE_SSL_REVOCATION);
}

HttpAnswer HttpConnection::Ask(const wchar_t* method, std::string_view path, const Send& send) const {
    std::optional<HttpAnswer> refusal = Greet(path);
    return refusal ? *std::move(refusal) : Ask(method, path, send, HttpLogin::When::AtOnce);
}

HttpAnswer HttpConnection::Ask(const wchar_t* method, std::string_view path, const Send& send,
                               HttpLogin::When when) const try {
    HttpRequest request = Open(method, path, when);
    const DWORD status = Exchange(request, send);
    return {std::move(request), status};
} catch (const HttpError& error) {
    // Nothing has been sent yet.
    if (SparesRevocation(error)) return Ask(method, path, send, when);
    throw;
}

bool HttpConnection::SparesRevocation(const HttpError& failure) const {
    return failure.IsOfRevocation() && std::exchange(m_state->asksForRevocation, false);
}

DWORD HttpConnection::Exchange(HttpRequest& request, const Send& send) const {
    // A proxy and a server may ask, and the system may want to send a request again for each of their
    // questions.
    constexpr int kMostRounds = 10;
    for (int round = 1;; ++round) {
        send(request);
        const DWORD status = request.Receive();
        m_state->answered = GetTickCount64();
        const bool again = status == 0 || m_login->Answer(request, status);
        if (!again || round == kMostRounds) return status;
        if (status != 0) request.Drain();
    }
}

std::optional<HttpAnswer> HttpConnection::Greet(std::string_view path) const {
    const bool isNeeded = m_pins || m_login->IsAsked();
    const bool isFresh = m_state->answered != 0 && GetTickCount64() - m_state->answered < kFresh;
    if (!isNeeded || isFresh) return std::nullopt;
    HttpAnswer answer = Ask(L"HEAD", path, &HttpRequest::Send, HttpLogin::When::Asked);
    if (answer.status == HTTP_STATUS_DENIED || answer.status == HTTP_STATUS_PROXY_AUTH_REQ) return answer;
    answer.request.Drain();
    return std::nullopt;
}

void HttpConnection::Fail(base::Where where) const { throw HttpError(GetLastError(), m_server, 0, where); }
