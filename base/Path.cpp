// See Path.h.
#include "base/Path.h"

#include <algorithm>
#include <array>
#include <cwctype>

namespace Path {

namespace {

constexpr std::wstring_view kSeparators = L"\\/";

bool IsSeparator(wchar_t character) { return kSeparators.find(character) != std::wstring_view::npos; }

/// Whether no name may hold a character: what stands for something else, and what has no form.
bool IsForbidden(wchar_t character) {
    constexpr unsigned kFirstPrintable = 0x20;
    constexpr std::wstring_view kForbidden = L"\\/:*?\"<>|";
    return static_cast<unsigned>(character) < kFirstPrintable ||
           kForbidden.find(character) != std::wstring_view::npos;
}

size_t NameStart(std::wstring_view path) {
    const size_t separator = path.find_last_of(L"\\/:");
    return separator == std::wstring_view::npos ? 0 : separator + 1;
}

}  // namespace

std::wstring Join(std::wstring_view folder, std::wstring_view name) {
    if (folder.empty() || name.empty()) return std::wstring(folder).append(name);
    return WithSeparator(folder).append(name);
}

std::wstring WithSeparator(std::wstring_view folder) {
    std::wstring path(folder);
    if (path.empty() || !IsSeparator(path.back())) path += L'\\';
    return path;
}

std::wstring ParentFolder(std::wstring_view path) {
    std::wstring_view parent = path.substr(0, NameStart(path));
    const size_t root = Drive(path).size() + 1;
    while (parent.size() > root && IsSeparator(parent.back()))
        parent.remove_suffix(1);
    return std::wstring(parent);
}

std::wstring FileName(std::wstring_view path) { return std::wstring(path.substr(NameStart(path))); }

std::wstring BaseName(std::wstring_view path) {
    const std::wstring name = FileName(path);
    return name.substr(0, name.rfind(L'.'));
}

std::wstring Drive(std::wstring_view path) {
    if (path.size() >= 2 && path[1] == L':') return std::wstring(path.substr(0, 2));
    if (path.size() < 3 || !IsSeparator(path[0]) || !IsSeparator(path[1])) return {};
    const size_t serverEnd = path.find_first_of(kSeparators, 2);
    if (serverEnd == std::wstring_view::npos) return {};
    const size_t shareEnd = path.find_first_of(kSeparators, serverEnd + 1);
    return std::wstring(path.substr(0, shareEnd));
}

std::wstring LastFour(std::wstring_view path) {
    return std::wstring(path.size() <= 4 ? path : path.substr(path.size() - 4));
}

bool IsDeviceName(std::wstring_view name) {
    constexpr std::array<std::wstring_view, 6> kDevices = {L"CON", L"PRN",    L"AUX",
                                                           L"NUL", L"CONIN$", L"CONOUT$"};
    constexpr std::wstring_view kPortNumbers = L"123456789\u00B9\u00B2\u00B3";
    // The part before the first dot counts, blanks at its end aside.
    std::wstring stem(name.substr(0, name.find(L'.')));
    stem.erase(stem.find_last_not_of(L' ') + 1);
    std::ranges::transform(stem, stem.begin(), [](wchar_t c) {
        return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
    });
    if (std::ranges::find(kDevices, stem) != kDevices.end()) return true;
    return stem.size() == 4 && (stem.starts_with(L"COM") || stem.starts_with(L"LPT")) &&
           kPortNumbers.find(stem[3]) != std::wstring_view::npos;
}

bool IsPlainName(std::wstring_view name) {
    return !name.empty() && std::ranges::none_of(name, &IsForbidden) && name.back() != L'.' &&
           name.back() != L' ' && !IsDeviceName(name);
}

}  // namespace Path
