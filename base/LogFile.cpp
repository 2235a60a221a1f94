// See LogFile.h.
#include "base/LogFile.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"

namespace base {

namespace {

using Number = std::uint64_t;

/// The names of one log and of the files that were set aside.
class LogNames {
public:
    explicit LogNames(const std::wstring& path)
        : m_folder(Path::ParentFolder(path)),
          m_start(Path::BaseName(path) + L"."),
          m_end(Path::FileName(path).substr(m_start.size() - 1)) {}

    std::wstring Aside(Number number) const {
        return Path::Join(m_folder, m_start + std::to_wstring(number) + m_end);
    }
    /// Numbers of the files that are there, in their order.
    std::vector<Number> Numbers() const;

private:
    std::optional<Number> NumberIn(const std::wstring& name) const;

    const std::wstring m_folder;
    const std::wstring m_start;
    const std::wstring m_end;
};

std::vector<Number> LogNames::Numbers() const {
    std::vector<Number> numbers;
    for (const FileSystem::FileEntry& file : FileSystem::List(m_folder).files)
        if (const auto number = NumberIn(file.name)) numbers.push_back(*number);
    std::ranges::sort(numbers);
    return numbers;
}

std::optional<Number> LogNames::NumberIn(const std::wstring& name) const {
    constexpr std::size_t kMostDigits = 18;
    if (name.size() <= m_start.size() + m_end.size()) return std::nullopt;
    const std::wstring digits = name.substr(m_start.size(), name.size() - m_start.size() - m_end.size());
    if (!EqualsIgnoringCase(name, m_start + digits + m_end)) return std::nullopt;
    const bool isNumber = digits.find_first_not_of(L"0123456789") == std::wstring::npos &&
                          digits.front() != L'0' && digits.size() <= kMostDigits;
    return isNumber ? std::optional<Number>(std::stoull(digits)) : std::nullopt;
}

/// By a rename alone, which fails while somebody writes to the file: no entry gets lost.
void SetAside(const std::wstring& path, std::size_t kept) {
    const LogNames names(path);
    const std::vector<Number> numbers = names.Numbers();
    const Number next = numbers.empty() ? 1 : numbers.back() + 1;
    if (!MoveFileW(FileSystem::Extended(path).c_str(), FileSystem::Extended(names.Aside(next)).c_str()))
        return;
    if (kept == 0 || numbers.size() < kept) return;
    for (std::size_t i = 0; i <= numbers.size() - kept; ++i)
        FileSystem::TryDelete(names.Aside(numbers[i]));
}

/// added: bytes that are to come.
void SetAsideWhenFull(const std::wstring& path, std::uint64_t added, LogLimits limits) noexcept try {
    if (limits.size == 0) return;
    const auto version = FileSystem::VersionOf(path);
    if (version && version->size > 0 && version->size + added > limits.size) SetAside(path, limits.kept);
} catch (...) {
    // A folder that cannot be listed: the file grows on.
    return;
}

}  // namespace

void AppendToLog(const std::wstring& path, std::string_view entry, LogLimits limits, Where where) {
    SetAsideWhenFull(path, entry.size(), limits);
    AppendToFile(path, entry, where);
}

void SetAsideFullLog(const std::wstring& path, LogLimits limits) noexcept {
    SetAsideWhenFull(path, 0, limits);
}

}  // namespace base
