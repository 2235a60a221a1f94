// See CommandLine.h.
#include "cmdline/CommandLine.h"

#include <algorithm>

namespace CommandLine {

namespace {

constexpr std::wstring_view kSeparators = L"= ";
constexpr std::wstring_view kSwitches = L"-/";
constexpr std::wstring_view kNameCharacters =
    L"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_?";
constexpr wchar_t kQuote = L'"';

bool IsIn(std::wstring_view set, wchar_t character) { return set.find(character) != std::wstring_view::npos; }

class Parser {
public:
    Parser(std::wstring_view text, Receiver& receiver) : m_rest(text), m_receiver(receiver) {}

    void Run() {
        while (!m_rest.empty()) {
            if (IsIn(kSeparators, m_rest.front()))
                m_rest.remove_prefix(1);
            else if (IsIn(kSwitches, m_rest.front()))
                ReadName();
            else
                StoreValue(m_rest.front() == kQuote ? ReadQuoted() : ReadPlain());
        }
    }

private:
    void ReadName() {
        if (!m_pending.empty()) m_receiver.Option(m_pending, {});
        m_rest.remove_prefix(1);
        m_pending = Take(m_rest.find_first_not_of(kNameCharacters));
    }

    void StoreValue(std::wstring value) {
        if (m_pending.empty()) {
            m_receiver.Parameter(std::move(value));
        } else {
            m_receiver.Option(m_pending, std::move(value));
            m_pending.clear();
        }
    }

    /// The first character belongs to the value even where it could not stand later in it.
    std::wstring ReadPlain() { return Take(m_rest.find_first_of(kSeparators, 1)); }

    std::wstring ReadQuoted() {
        m_rest.remove_prefix(1);
        std::wstring value = Take(m_rest.find(kQuote));
        if (!m_rest.empty()) m_rest.remove_prefix(1);
        return value;
    }

    std::wstring Take(size_t length) {
        std::wstring taken(m_rest.substr(0, length));
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    std::wstring_view m_rest;
    std::wstring m_pending;  ///< name of the option whose value has not come yet
    Receiver& m_receiver;
};

}  // namespace

void Parse(std::wstring_view text, Receiver& receiver) { Parser(text, receiver).Run(); }

std::wstring_view Arguments(std::wstring_view processCommandLine) {
    const bool quoted = processCommandLine.starts_with(kQuote);
    const size_t end = quoted ? processCommandLine.find(kQuote, 1) : processCommandLine.find_first_of(L" \t");
    if (end == std::wstring_view::npos) return {};
    processCommandLine.remove_prefix(quoted ? end + 1 : end);
    processCommandLine.remove_prefix(
        std::min(processCommandLine.find_first_not_of(L" \t"), processCommandLine.size()));
    return processCommandLine;
}

}  // namespace CommandLine
