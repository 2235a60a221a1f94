// Paths as arguments of a command line.
#pragma once

#include <string>

/// In double quotes. A separator at the end is doubled, or it would take the closing quote as its own.
inline std::wstring Quoted(const std::wstring& path) {
    return L"\"" + path + (path.ends_with(L'\\') ? L"\\" : L"") + L"\"";
}
