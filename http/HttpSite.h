// The settings of a WebDAV server. Portable.
#pragma once

#include <string>

struct HttpSite {
    std::wstring url = {};  ///< of the collection that paths on the server begin at
    std::wstring user = {};
    std::wstring password = {};  ///< plain

    bool operator==(const HttpSite&) const = default;
};
