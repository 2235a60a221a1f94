// The settings of a WebDAV server. Portable.
#pragma once

#include <string>

struct HttpSite {
    std::wstring url = {};  ///< of the collection that paths on the server begin at
    std::wstring user = {};
    std::wstring password = {};           ///< plain
    std::wstring login = {};              ///< basic, digest, ntlm or negotiate; empty for basic
    std::wstring clientCertificate = {};  ///< SHA-1 thumbprint or a part of the subject; empty for none
    std::wstring pins = {};               ///< of public keys, with blanks between them; empty for any key
    std::wstring proxy = {};              ///< server:port; empty for that of the system's settings
    std::wstring proxyUser = {};
    std::wstring proxyPassword = {};  ///< plain

    bool operator==(const HttpSite&) const = default;
};
