// See HttpChallenge.h.
#include "http/HttpChallenge.h"

#include <algorithm>
#include <cctype>

namespace {

std::string Small(std::string_view text) {
    std::string small(text);
    std::ranges::transform(small, small.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return small;
}

/// Takes one part after the other off a header.
class Scanner {
public:
    explicit Scanner(std::string_view text) : m_rest(text) {}

    bool IsAtEnd() const { return m_rest.empty(); }
    bool Takes(char character) {
        if (!m_rest.starts_with(character)) return false;
        m_rest.remove_prefix(1);
        return true;
    }
    void SkipBlanks() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(" \t"), m_rest.size())); }
    void SkipSeparators() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(" \t,"), m_rest.size())); }
    std::string_view Word() {
        const std::string_view word = m_rest.substr(0, m_rest.find_first_of(" \t,=\""));
        m_rest.remove_prefix(word.size());
        return word;
    }
    std::string Value() { return Takes('"') ? Quoted() : std::string(Unquoted()); }
    void SkipCharacter() { m_rest.remove_prefix(std::min<std::size_t>(1, m_rest.size())); }

private:
    std::string_view Unquoted() {
        const std::string_view value = m_rest.substr(0, m_rest.find_first_of(" \t,"));
        m_rest.remove_prefix(value.size());
        return value;
    }
    std::string Quoted() {
        std::string value;
        while (!m_rest.empty() && !Takes('"')) {
            Takes('\\');
            value += m_rest.substr(0, 1);
            SkipCharacter();
        }
        return value;
    }

    std::string_view m_rest;
};

}  // namespace

std::string HttpChallenge::Parameter(const char* name) const {
    const auto found = parameters.find(name);
    return found == parameters.end() ? std::string() : found->second;
}

std::vector<HttpChallenge> ReadChallenges(std::string_view header) {
    std::vector<HttpChallenge> challenges;
    Scanner scanner(header);
    for (scanner.SkipSeparators(); !scanner.IsAtEnd(); scanner.SkipSeparators()) {
        const std::string word = Small(scanner.Word());
        scanner.SkipBlanks();
        if (word.empty())
            scanner.SkipCharacter();
        else if (!scanner.Takes('='))
            challenges.push_back({word});
        else if (scanner.SkipBlanks(); !challenges.empty())
            challenges.back().parameters.emplace(word, scanner.Value());
    }
    return challenges;
}
