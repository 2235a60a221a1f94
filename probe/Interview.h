// What the product expects of the system, asked one question after the other, with a line of output for each.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace probe {

/// Something that only the system itself can tell.
struct Question {
    std::wstring text;
    /// How an expected answer begins, in whole words; " or " stands between several of them.
    std::wstring expected;
    /// What came back. Throws when it cannot be asked.
    std::function<std::wstring()> ask;
};

/// The expectation of a question whose answer is good to know, whatever it is.
inline constexpr wchar_t kAny[] = L"any";

/// Thrown by a question that this system or server gives no occasion for.
struct NoOccasion {
    std::wstring reason;
};

class Interview {
public:
    void Ask(const std::vector<Question>& questions);
    /// Asks what belongs together; a failure before its first question stands for all of them.
    void AskAbout(const std::wstring& subject, const std::function<void()>& ask);
    /// For what this run was not told to ask.
    void LeaveOut(const std::wstring& subject, const std::wstring& reason);
    /// Prints the counts. False when something could not be asked.
    bool Finish() const;

private:
    void Ask(const Question& question);
    void CannotAsk(const std::wstring& text, const std::wstring& expected);

    int m_asked = 0;
    int m_different = 0;
    int m_notAsked = 0;
};

/// "error 5".
std::wstring ErrorAnswer(DWORD error);
/// "done", or the last error.
std::wstring Outcome(bool done);
/// Texts in one line.
std::wstring Joined(const std::vector<std::wstring>& texts);

}  // namespace probe
