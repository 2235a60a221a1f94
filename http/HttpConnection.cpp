// See HttpConnection.h.
#include "http/HttpConnection.h"

#include <utility>

#include "base/Error.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "cipher/Base64.h"
#include "http/HttpError.h"

namespace {

constexpr int kResolveTimeOut = 30'000;  // milliseconds, as the following
constexpr int kConnectTimeOut = 30'000;
constexpr int kSendTimeOut = 60'000;
constexpr int kReceiveTimeOut = 120'000;

// Names that the compiler's headers lack.
constexpr DWORD kTls12 = 0x00000800;
constexpr DWORD kTls13 = 0x00002000;
constexpr DWORD kAutomaticProxy = 4;

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

bool IsThisComputer(const std::wstring& host) {
    return host.starts_with(L"127.") || host == L"[::1]" || host == L"::1" ||
           base::EqualsIgnoringCase(host, L"localhost");
}

}  // namespace

HttpConnection::HttpConnection(const HttpSite& site, HttpRequest::GoOn goOn) : m_goOn(std::move(goOn)) {
    const Url url = Parsed(site.url);
    m_isSecure = url.isSecure;
    if (!m_isSecure && !IsThisComputer(url.host))
        Refuse(site.url, L"packets and password would travel for everyone to read; use https");
    const std::wstring port = std::to_wstring(url.port);
    m_server = url.host + L":" + port;
    m_origin = (m_isSecure ? L"https://" : L"http://") + m_server;
    m_folder = url.path.ends_with(L'/') ? url.path : url.path + L"/";
    if (!site.user.empty())
        m_authorization =
            L"Authorization: Basic " +
            Base64Of(base::BytesOf(base::ToUtf8(site.user) + ":" + base::ToUtf8(site.password)));
    OpenSession();
    m_connection = WinHttpHandle(WinHttpConnect(m_session.Get(), url.host.c_str(), url.port, 0));
    if (!m_connection) Fail();
}

/// With the proxy of the system's settings; Windows 7 knows those of the user alone.
void HttpConnection::OpenSession() {
    for (const DWORD proxy : {kAutomaticProxy, DWORD{WINHTTP_ACCESS_TYPE_DEFAULT_PROXY}}) {
        m_session = WinHttpHandle(WinHttpOpen(L"znTransporter", proxy, WINHTTP_NO_PROXY_NAME,
                                              WINHTTP_NO_PROXY_BYPASS, WINHTTP_FLAG_ASYNC));
        if (m_session) return SetLimits();
    }
    Fail();
}

void HttpConnection::SetLimits() const {
    if (!WinHttpSetTimeouts(m_session.Get(), kResolveTimeOut, kConnectTimeOut, kSendTimeOut, kReceiveTimeOut))
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
    WinHttpHandle handle(WinHttpOpenRequest(m_connection.Get(), method, PathOf(path).c_str(), nullptr,
                                            WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                            // The path is encoded already.
                                            WINHTTP_FLAG_ESCAPE_DISABLE | WINHTTP_FLAG_ESCAPE_DISABLE_QUERY |
                                                (m_isSecure ? WINHTTP_FLAG_SECURE : 0)));
    if (!handle) Fail();
    HttpRequest request(std::move(handle), m_server, m_goOn);
    request.SetOption(WINHTTP_OPTION_DISABLE_FEATURE,
                      WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES | WINHTTP_DISABLE_AUTHENTICATION);
    request.AddHeader(L"Accept-Encoding: identity");
    if (!m_authorization.empty()) request.AddHeader(m_authorization);
    return request;
}

void HttpConnection::Fail(base::Where where) const { throw HttpError(GetLastError(), m_server, 0, where); }
