// The table of the host's settings: no line is another one's copy, and docs/settings.md says what it says.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/Utf8.h"
#include "host/settings/SettingsTable.h"

namespace {

std::wstring Code(const wchar_t* text) { return std::wstring(L"`") + text + L"`"; }

std::wstring ValuesOf(const Setting& setting) {
    if (setting.allowed.empty()) return DescriptionOf(setting.kind);
    std::wstring values;
    for (const wchar_t* const value : setting.allowed)
        values += (values.empty() ? L"" : L", ") + Code(value);
    return values;
}

std::wstring DefaultOf(const Setting& setting) {
    if (setting.presence == Presence::Required) return L"must be given";
    if (setting.presence == Presence::RequiredEmpty) return L"must be given, may be empty";
    return *setting.fallback == L'\0' ? L"empty" : Code(setting.fallback);
}

/// The tables; what stands before them is prose.
std::string Tables() {
    std::wstring text;
    const Setting* previous = nullptr;
    for (const Setting& setting : kSettings) {
        if (!previous || previous->section != setting.section)
            text.append(L"\n## [")
                .append(setting.SectionName())
                .append(L"]\n\n| Name | Value | Default | What it is |\n|---|---|---|---|\n");
        std::wstring comment = setting.comment;
        std::ranges::replace(comment, L'\n', L' ');
        text += L"| " + Code(setting.name) + L" | " + ValuesOf(setting) + L" | " + DefaultOf(setting) +
                L" | " + comment + L" |\n";
        previous = &setting;
    }
    return base::ToUtf8(text);
}

TEST(SettingsReference, NoTwoSettingsShareANameOrAField) {
    for (const Setting& one : kSettings)
        for (const Setting& other : kSettings) {
            if (&one == &other) break;
            EXPECT_NE(one.Title(), other.Title());
            EXPECT_NE(one.take, other.take) << base::ToUtf8(one.Title() + L", " + other.Title());
        }
}

TEST(SettingsReference, SaysWhatTheTableSays) {
    std::ifstream file(ZN_DOCS "/settings.md", std::ios::binary);
    const std::string written{std::istreambuf_iterator<char>(file), {}};
    const std::string made = written.substr(0, written.find("\n## [")) + Tables();
    if (written != made) std::ofstream("settings.md", std::ios::binary) << made;
    EXPECT_EQ(written, made) << "The table has changed: copy " << std::filesystem::absolute("settings.md")
                             << " to docs.";
}

}  // namespace
