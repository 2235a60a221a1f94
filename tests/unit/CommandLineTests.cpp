// What the parser of command lines hands over for which text.
#include "cmdline/CommandLine.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

/// Writes down what the parser hands over: "name=value" for options, "(value)" for parameters.
class Transcript final : public CommandLine::Receiver {
public:
    void Option(const std::wstring& name, std::wstring value) override { Note(name + L"=" + value); }
    void Parameter(std::wstring value) override { Note(L"(" + value + L")"); }

    std::wstring text;

private:
    void Note(const std::wstring& item) { text += (text.empty() ? L"" : L" ") + item; }
};

std::wstring Parsed(std::wstring_view text) {
    Transcript transcript;
    CommandLine::Parse(text, transcript);
    return transcript.text;
}

struct Case {
    const wchar_t* text;
    const wchar_t* parsed;
};

void Check(const std::vector<Case>& cases) {
    for (const Case& c : cases)
        EXPECT_EQ(Parsed(c.text), c.parsed) << testing::PrintToString(std::wstring(c.text));
}

TEST(CommandLine, Parameters) {
    Check({{L"", L""},
           {L"   ", L""},
           {L"x y", L"(x) (y)"},
           {L"a-b c/d", L"(a-b) (c/d)"},
           {L"a=b", L"(a) (b)"},
           {L"\"a b\" c", L"(a b) (c)"},
           {L"\"a b\"c", L"(a b) (c)"},
           {L"a\"b c", L"(a\"b) (c)"},
           {L"\"never closed = /x", L"(never closed = /x)"},
           {L"\"\"", L"()"},
           {L"\"", L"()"},
           {L"\tx", L"(\tx)"}});
}

TEST(CommandLine, OptionsTakeTheValueThatFollows) {
    Check({{L"/name=value", L"name=value"},
           {L"/name value", L"name=value"},
           {L"-name = value", L"name=value"},
           {L"-name \"a = /b\" c", L"name=a = /b (c)"},
           {L"/range 1-5", L"range=1-5"},
           {L"/a:1", L"a=:1"},
           {L"/Ünicode=1", L"(Ünicode) (1)"},
           {L"-?=1 -_x 2 -A9 3", L"?=1 _x=2 A9=3"},
           {L"/a=1 /a=2 /A=3", L"a=1 a=2 A=3"}});
}

TEST(CommandLine, OptionsWithoutValueAreKeptBeforeAnotherOptionOnly) {
    Check({{L"/a /b", L"a="},
           {L"/a /b  ", L"a="},
           {L"/verbose", L""},
           {L"/a/b x", L"a= b=x"},
           {L"--a x", L"a=x"},
           {L"- x", L"(x)"},
           {L"/", L""},
           {L"/a=", L""},
           {L"x /a=1 y", L"(x) a=1 (y)"}});
}

TEST(CommandLine, ArgumentsFollowTheProgram) {
    const std::vector<std::pair<std::wstring, std::wstring>> cases = {
        {L"\"C:\\Program Files\\host.exe\" /a=1 x", L"/a=1 x"},
        {L"host.exe   /a", L"/a"},
        {L"host.exe", L""},
        {L"\"host.exe\"", L""},
        {L"\"unclosed name", L""},
        {L"", L""},
        {L"host.exe\t\"x y\"", L"\"x y\""}};
    for (const auto& [line, arguments] : cases)
        EXPECT_EQ(CommandLine::Arguments(line), arguments) << testing::PrintToString(line);
}

}  // namespace
