// See IniText.h.
#include "host/settings/IniText.h"

#include <algorithm>
#include <optional>

#include "base/Text.h"
#include "base/Utf8.h"

namespace IniText {

namespace {

constexpr wchar_t kByteOrderMark = L'\uFEFF';
constexpr std::wstring_view kLineEnd = L"\r\n";  // either of them, or both

std::size_t EndOfLine(const std::wstring& text, std::size_t start) {
    return std::min(text.find_first_of(kLineEnd, start), text.size());
}

/// Of a line of the text, without its end.
std::wstring_view LineAt(const std::wstring& text, std::size_t start) {
    return std::wstring_view(text).substr(start, EndOfLine(text, start) - start);
}

/// As the parser of the settings takes lines.
std::size_t AfterLine(const std::wstring& text, std::size_t start) {
    const std::size_t end = EndOfLine(text, start);
    const std::size_t length = text.compare(end, kLineEnd.size(), kLineEnd) == 0 ? kLineEnd.size() : 1;
    return std::min(end + length, text.size());
}

bool Names(std::wstring_view line, std::wstring_view section) {
    return base::EqualsIgnoringCase(Trimmed(line.substr(1, line.find(L']') - 1)), section);
}

bool Assigns(std::wstring_view line, std::wstring_view name) {
    return base::EqualsIgnoringCase(Trimmed(line.substr(0, line.find(L'='))), name);
}

std::wstring FirstLineEnd(const std::wstring& text) {
    const std::size_t end = EndOfLine(text, 0);
    return end == text.size() ? L"\n" : text.substr(end, AfterLine(text, 0) - end);
}

/// With the ends that the text's own lines have.
void Insert(std::wstring& text, std::size_t place, const std::wstring& lines) {
    const std::wstring end = FirstLineEnd(text);
    const bool isBehindText = place > 0 && kLineEnd.find(text[place - 1]) == std::wstring_view::npos;
    std::wstring inserted = isBehindText ? end : std::wstring();
    for (const wchar_t character : lines)
        inserted += character == L'\n' ? end : std::wstring(1, character);
    text.insert(place, inserted);
}

void SetIn(std::wstring& text, std::wstring_view section, std::wstring_view name, const std::wstring& value) {
    const std::wstring assignment = std::wstring(name) + L" = " + value;
    bool isInside = false;
    std::size_t sectionEnd = std::wstring::npos;
    for (std::size_t start = text.starts_with(kByteOrderMark) ? 1 : 0; start < text.size();
         start = AfterLine(text, start)) {
        const std::wstring_view line = LineAt(text, start);
        const std::wstring_view content = Trimmed(line);
        if (content.empty()) continue;
        if (content.starts_with(L'[')) isInside = Names(content, section);
        if (isInside && Assigns(line, name)) {
            text.replace(start, line.size(), assignment);
            return;
        }
        if (isInside) sectionEnd = AfterLine(text, start);
    }
    if (sectionEnd != std::wstring::npos) return Insert(text, sectionEnd, assignment + L"\n");
    Insert(text, text.size(), L"[" + std::wstring(section) + L"]\n" + assignment + L"\n");
}

}  // namespace

bool SetValue(std::string& text, std::wstring_view section, std::wstring_view name,
              const std::wstring& value) {
    std::optional<std::wstring> wide = base::DecodedUtf8(text);
    if (!wide) return false;
    SetIn(*wide, section, name, value);
    text = base::ToUtf8(*wide);
    return true;
}

std::wstring_view Trimmed(std::wstring_view text) noexcept {
    constexpr std::wstring_view kAround = L" \t";
    const std::size_t start = text.find_first_not_of(kAround);
    if (start == std::wstring_view::npos) return {};
    return text.substr(start, text.find_last_not_of(kAround) - start + 1);
}

}  // namespace IniText
