// Whatever texts a program is given, its parser hands over the same: names of files may look like anything.
#include "cli/Arguments.h"

#include <CLI/CLI.hpp>

#include <algorithm>

#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/Require.h"

namespace {

/// Behind "--" all are names of files.
void RoundTrip(std::vector<std::wstring> texts) {
    CLI::App app("", "fuzzed");
    cli::SetUp(app, "fuzzed");
    std::vector<std::wstring> found;
    cli::AddTexts(app, "FILE", found, "");
    texts.insert(texts.begin(), L"--");
    cli::Parse(app, texts);
    texts.erase(texts.begin());
    Require(found == texts);
}

/// Any command line is understood or refused.
void Read(const std::vector<std::wstring>& texts) try {
    CLI::App app("", "fuzzed");
    cli::SetUp(app, "fuzzed");
    std::wstring value;
    std::vector<std::wstring> values;
    cli::AddText(app, "-o,--option", value, "");
    cli::AddTexts(app, "FILE", values, "");
    cli::Parse(app, texts);
    for (const std::wstring& text : values)
        Require(std::ranges::find(texts, text) != texts.end());
} catch (const CLI::ParseError& error) {
    cli::Description(error);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    std::vector<std::wstring> texts;
    while (!input.IsEmpty())
        texts.push_back(input.WideTextWithout(std::wstring_view(L"\0\x1F", 2)));
    Read(texts);
    RoundTrip(texts);
    return 0;
}
