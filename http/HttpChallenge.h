// What a server or proxy says of the logins that it takes (RFC 7235). Portable.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

struct HttpChallenge {
    std::string scheme;                                  ///< in small letters
    std::map<std::string, std::string> parameters = {};  ///< their names in small letters

    /// Empty without one.
    std::string Parameter(const char* name) const;
    bool operator==(const HttpChallenge&) const = default;
};

/// Those of a header, which may hold several.
std::vector<HttpChallenge> ReadChallenges(std::string_view header);
