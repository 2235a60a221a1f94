// Sessions with the system's HTTP client, which know the way through proxies.
#pragma once

#include <string>

#include "http/HttpRequest.h"

/// For asynchronous requests. None, and GetLastError tells why, when the system refuses it. proxy:
/// server:port; empty for that of the system's settings.
WinHttpHandle NewHttpSession(const std::wstring& proxy);
/// Nor by one of the system's settings.
WinHttpHandle NewHttpSessionWithoutProxy();
