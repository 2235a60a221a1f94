// See Complaint.h.
#include "cli/Complaint.h"

#include <CLI/CLI.hpp>

#include <sstream>

#include "base/Console.h"

namespace cli {

std::optional<std::wstring> Complaint(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream answer;
    std::ostringstream complaint;
    const bool isWrong = app.exit(error, answer, complaint) != 0;
    std::wstring text = FromParser((isWrong ? complaint : answer).str());
    while (text.ends_with(L'\n'))
        text.pop_back();
    if (isWrong) return text;
    Console::Line(text);
    return std::nullopt;
}

}  // namespace cli
