// See DigestLogin.h.
#include "http/DigestLogin.h"

#include <windows.h>
#include <bcrypt.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>

#include "base/Text.h"
#include "base/Utf8.h"
#include "cipher/Sha256.h"
#include "cipher/TextBytes.h"

/// By its name in challenges.
struct DigestLogin::Algorithm {
    const char* name;
    const wchar_t* systemName;
    std::size_t size;  ///< of its sums, in bytes
};

namespace {

std::string Quoted(const std::string& text) {
    std::string quoted;
    for (const char character : text) {
        if (character == '"' || character == '\\') quoted += '\\';
        quoted += character;
    }
    return '"' + quoted + '"';
}

std::string Random() {
    std::array<std::uint8_t, 16> bytes{};
    BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(bytes.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    return base::ToUtf8(HexadecimalOf(bytes));
}

std::string EightDigits(unsigned number) {
    std::array<char, 9> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x", number);
    return digits.data();
}

/// Whether the server takes the login for the head of a request; nothing else is understood but a server that
/// knows no such choice.
bool TakesHead(const HttpChallenge& challenge) {
    std::istringstream choices(challenge.Parameter("qop"));
    bool isChoice = false;
    for (std::string choice; std::getline(choices, choice, ',');) {
        isChoice = true;
        if (base::Trimmed(base::FromUtf8(choice)) == L"auth") return true;
    }
    return !isChoice;
}

}  // namespace

const DigestLogin::Algorithm* DigestLogin::AlgorithmOf(const HttpChallenge& challenge) {
    // The better one first.
    static constexpr Algorithm kAlgorithms[] = {{"SHA-256", BCRYPT_SHA256_ALGORITHM, 32},
                                                {"MD5", BCRYPT_MD5_ALGORITHM, 16}};
    const std::string wanted =
        challenge.parameters.contains("algorithm") ? challenge.Parameter("algorithm") : "MD5";
    const auto found = std::ranges::find_if(kAlgorithms, [&](const Algorithm& algorithm) {
        return base::EqualsIgnoringCase(base::FromUtf8(algorithm.name), base::FromUtf8(wanted));
    });
    return found == std::end(kAlgorithms) ? nullptr : found;
}

std::optional<DigestLogin> DigestLogin::In(const std::vector<HttpChallenge>& challenges) {
    std::optional<DigestLogin> best;
    for (const HttpChallenge& challenge : challenges) {
        const Algorithm* const algorithm = AlgorithmOf(challenge);
        if (challenge.scheme == "digest" && algorithm && TakesHead(challenge) &&
            (!best || algorithm < best->m_algorithm))
            best = DigestLogin(challenge, *algorithm);
    }
    return best;
}

bool DigestLogin::IsStale() const {
    return base::EqualsIgnoringCase(base::FromUtf8(m_challenge.Parameter("stale")), L"true");
}

std::string DigestLogin::Hash(std::initializer_list<std::string> parts) const {
    CheckSum sum(m_algorithm->systemName, m_algorithm->size);
    for (const std::string& part : parts) {
        if (&part != parts.begin()) sum.Add(base::BytesOf(":"));
        sum.Add(base::BytesOf(part));
    }
    return base::ToUtf8(sum.Finish());
}

std::wstring DigestLogin::HeaderValue(const std::wstring& user, const std::wstring& password,
                                      const std::wstring& method, const std::wstring& path) {
    const std::string name = base::ToUtf8(user);
    const std::string realm = m_challenge.Parameter("realm");
    const std::string nonce = m_challenge.Parameter("nonce");
    const std::string secret = Hash({name, realm, base::ToUtf8(password)});
    const std::string request = Hash({base::ToUtf8(method), base::ToUtf8(path)});
    std::string value = "Digest username=" + Quoted(name);
    const auto add = [&](const char* parameter, const std::string& text) {
        value.append(", ").append(parameter).append("=").append(text);
    };
    add("realm", Quoted(realm));
    add("nonce", Quoted(nonce));
    add("uri", Quoted(base::ToUtf8(path)));
    add("algorithm", m_algorithm->name);
    if (m_challenge.parameters.contains("opaque")) add("opaque", Quoted(m_challenge.Parameter("opaque")));
    if (m_challenge.Parameter("qop").empty()) {
        add("response", Quoted(Hash({secret, nonce, request})));
        return base::FromUtf8(value);
    }
    const std::string count = EightDigits(++m_count);
    const std::string ours = Random();
    add("qop", "auth");
    add("nc", count);
    add("cnonce", Quoted(ours));
    add("response", Quoted(Hash({secret, nonce, count, ours, "auth", request})));
    return base::FromUtf8(value);
}
