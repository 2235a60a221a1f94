// See HttpSession.h.
#include "http/HttpSession.h"

#include "base/RollBack.h"

namespace {

constexpr DWORD kAutomaticProxy = 4;  // a name that the compiler's headers lack

WinHttpHandle Opened(DWORD access, const wchar_t* proxy, const wchar_t* bypass) {
    return WinHttpHandle(WinHttpOpen(L"znTransporter", access, proxy, bypass, WINHTTP_FLAG_ASYNC));
}

/// What the user has entered, which Windows 7 does not look for by itself; else that of netsh winhttp.
WinHttpHandle OpenedAsOfUser() {
    WINHTTP_CURRENT_USER_IE_PROXY_CONFIG user{};
    const bool isTold = WinHttpGetIEProxyConfigForCurrentUser(&user);
    const base::RollBack release([&] {
        for (wchar_t* const text : {user.lpszAutoConfigUrl, user.lpszProxy, user.lpszProxyBypass})
            GlobalFree(text);
    });
    if (isTold && user.lpszProxy)
        return Opened(WINHTTP_ACCESS_TYPE_NAMED_PROXY, user.lpszProxy, user.lpszProxyBypass);
    return Opened(WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS);
}

}  // namespace

WinHttpHandle NewHttpSession(const std::wstring& proxy) {
    if (!proxy.empty())
        return Opened(WINHTTP_ACCESS_TYPE_NAMED_PROXY, proxy.c_str(), WINHTTP_NO_PROXY_BYPASS);
    WinHttpHandle session = Opened(kAutomaticProxy, WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS);
    return session ? std::move(session) : OpenedAsOfUser();
}

WinHttpHandle NewHttpSessionWithoutProxy() {
    return Opened(WINHTTP_ACCESS_TYPE_NO_PROXY, WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS);
}
