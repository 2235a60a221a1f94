// See Console.h.
#include "base/Console.h"

#include <windows.h>

#include <algorithm>

#include "base/Utf8.h"

namespace Console {

namespace {

bool IsConsole(HANDLE output) {
    DWORD mode = 0;
    return GetConsoleMode(output, &mode) != FALSE;
}

/// One call must stay below the console's buffer limit of 64 KB.
void WriteToConsole(HANDLE output, std::wstring_view text) {
    constexpr size_t kChunk = 8192;
    for (size_t start = 0; start < text.size(); start += kChunk) {
        const std::wstring_view part = text.substr(start, kChunk);
        DWORD written = 0;
        WriteConsoleW(output, part.data(), static_cast<DWORD>(part.size()), &written, nullptr);
    }
}

/// As text files have them.
std::string WithLineEnds(std::string text) {
    for (size_t i = 0; (i = text.find('\n', i)) != std::string::npos; ++i)
        if (i == 0 || text[i - 1] != '\r') text.insert(i++, 1, '\r');
    return text;
}

/// A reader that went away must not stop a transfer: failures are ignored.
void WriteToFile(HANDLE output, std::wstring_view text) {
    const std::string bytes = WithLineEnds(base::ToUtf8(text));
    DWORD written = 0;
    WriteFile(output, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void Write(DWORD which, std::wstring_view text) {
    const HANDLE output = GetStdHandle(which);
    if (IsConsole(output)) return WriteToConsole(output, text);
    WriteToFile(output, text);
}

size_t transientLength = 0;

void RemoveTransient() {
    if (transientLength == 0) return;
    Write(STD_OUTPUT_HANDLE, L"\r" + std::wstring(transientLength, L' ') + L"\r");
    transientLength = 0;
}

size_t Width() {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) || info.dwSize.X < 2) return 79;
    return static_cast<size_t>(info.dwSize.X) - 1;
}

}  // namespace

bool IsInteractive() { return IsConsole(GetStdHandle(STD_OUTPUT_HANDLE)); }

bool IsThere() { return GetFileType(GetStdHandle(STD_OUTPUT_HANDLE)) != FILE_TYPE_UNKNOWN; }

void Line(std::wstring_view text) {
    RemoveTransient();
    Write(STD_OUTPUT_HANDLE, std::wstring(text) + L"\n");
}

void ErrorLine(std::wstring_view text) {
    RemoveTransient();
    Write(STD_ERROR_HANDLE, std::wstring(text) + L"\n");
}

void Transient(const std::wstring& text) {
    if (!IsInteractive()) return;
    std::wstring line = text.substr(0, Width());
    const size_t length = line.size();
    // Blanks hide the rest of a longer line that was shown before.
    line.resize(std::max(length, transientLength), L' ');
    Write(STD_OUTPUT_HANDLE, L"\r" + line);
    transientLength = length;
}

}  // namespace Console
