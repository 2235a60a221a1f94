// The login Digest (RFC 7616): a server's challenge, answered without telling it the password.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "http/HttpChallenge.h"

class DigestLogin {
public:
    /// Of the challenges the best that is understood; nothing when there is none.
    static std::optional<DigestLogin> In(const std::vector<HttpChallenge>& challenges);

    /// Whether the server has nothing against the login but the age of its challenge.
    bool IsStale() const;
    /// Another one for each request. path: as the request names it.
    std::wstring HeaderValue(const std::wstring& user, const std::wstring& password,
                             const std::wstring& method, const std::wstring& path);

private:
    struct Algorithm;

    DigestLogin(HttpChallenge challenge, const Algorithm& algorithm)
        : m_challenge(std::move(challenge)), m_algorithm(&algorithm) {}
    static const Algorithm* AlgorithmOf(const HttpChallenge& challenge);
    /// Of the parts with ":" between them.
    std::string Hash(std::initializer_list<std::string> parts) const;

    HttpChallenge m_challenge;
    const Algorithm* m_algorithm;
    unsigned m_count = 0;  ///< of the requests with this challenge
};
