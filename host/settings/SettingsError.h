// Settings that cannot be used.
#pragma once

#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "host/settings/SettingsTable.h"

using Problems = std::vector<std::wstring>;

/// Each problem names its setting.
class SettingsError : public std::exception {
public:
    explicit SettingsError(Problems problems) : m_problems(std::move(problems)) {}

    const Problems& All() const noexcept { return m_problems; }
    /// In lines.
    std::wstring Text() const {
        std::wstring text;
        for (const std::wstring& problem : m_problems)
            text.append(text.empty() ? L"" : L"\n").append(problem);
        return text;
    }
    const char* what() const noexcept override { return "SettingsError"; }

private:
    Problems m_problems;
};

/// What is wrong with the value of a setting, as a problem.
inline std::wstring Complaint(const std::wstring& file, const Setting& setting, const std::wstring& value,
                              const std::wstring& problem) {
    return file + L": " + setting.Title() + L" = " + value + L": " + problem;
}
inline std::wstring Complaint(const Settings& settings, const Setting& setting, const std::wstring& problem) {
    return Complaint(settings.file, setting, setting.text(settings), problem);
}
