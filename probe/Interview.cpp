// See Interview.h.
#include "probe/Interview.h"

#include <algorithm>
#include <string_view>

#include "base/Console.h"
#include "base/SystemError.h"

namespace probe {

namespace {

/// Replies of servers come in lines.
std::wstring OneCell(std::wstring text) {
    std::ranges::replace_if(
        text, [](wchar_t letter) { return letter < L' ' || letter == L'|'; }, L' ');
    return text;
}

void Print(const std::wstring& text, const std::wstring& expected, const std::wstring& answer,
           const std::wstring& verdict) {
    Console::Line(OneCell(text) + L" | " + OneCell(expected) + L" | " + OneCell(answer) + L" | " + verdict);
}

bool BeginsWith(std::wstring_view answer, std::wstring_view beginning) {
    if (!answer.starts_with(beginning)) return false;
    return answer.size() == beginning.size() || !iswalnum(answer[beginning.size()]);
}

bool IsExpected(std::wstring_view answer, std::wstring_view expected) {
    constexpr std::wstring_view kOr = L" or ";
    if (expected == kAny) return true;
    for (size_t end; (end = expected.find(kOr)) != std::wstring_view::npos;
         expected.remove_prefix(end + kOr.size()))
        if (BeginsWith(answer, expected.substr(0, end))) return true;
    return BeginsWith(answer, expected);
}

}  // namespace

void Interview::Ask(const std::vector<Question>& questions) {
    for (const Question& question : questions) {
        Console::Transient(question.text);
        Ask(question);
    }
}

void Interview::Ask(const Question& question) try {
    const std::wstring answer = question.ask();
    const bool isExpected = IsExpected(answer, question.expected);
    ++m_asked;
    m_different += isExpected ? 0 : 1;
    Print(question.text, question.expected, answer, isExpected ? L"as expected" : L"DIFFERS");
} catch (const NoOccasion& none) {
    Print(question.text, question.expected, none.reason, L"left out");
} catch (...) {
    CannotAsk(question.text, question.expected);
}

void Interview::AskAbout(const std::wstring& subject, const std::function<void()>& ask) try {
    Console::Transient(subject);
    ask();
} catch (...) {
    CannotAsk(subject, L"an answer to each question");
}

/// In a handler.
void Interview::CannotAsk(const std::wstring& text, const std::wstring& expected) {
    ++m_notAsked;
    Print(text, expected, base::CurrentFailure().description, L"NOT ASKED");
}

void Interview::LeaveOut(const std::wstring& subject, const std::wstring& reason) {
    Print(subject, L"-", reason, L"left out");
}

bool Interview::Finish() const {
    Console::Line(std::to_wstring(m_asked) + L" asked, " + std::to_wstring(m_different) + L" differ, " +
                  std::to_wstring(m_notAsked) + L" could not be asked");
    return m_notAsked == 0;
}

std::wstring ErrorAnswer(DWORD error) { return L"error " + std::to_wstring(error); }

std::wstring Outcome(bool done) {
    const DWORD error = GetLastError();
    return done ? L"done" : ErrorAnswer(error);
}

std::wstring Joined(const std::vector<std::wstring>& texts) {
    std::wstring line;
    for (const std::wstring& text : texts)
        line.append(line.empty() ? L"" : L", ").append(text);
    return line;
}

}  // namespace probe
