// See PasswordPrompt.h.
#include "host/console/PasswordPrompt.h"

#include <windows.h>

#include <algorithm>

#include "base/Console.h"
#include "base/RollBack.h"
#include "host/settings/SettingsError.h"

namespace {

constexpr std::size_t kLongest = 1024;  // characters

HANDLE Input() { return GetStdHandle(STD_INPUT_HANDLE); }

SecretText NotEmpty(SecretText password) {
    if (password.empty()) throw SettingsError({L"The password is empty; nothing was changed."});
    return password;
}

/// In the meantime the console shows nothing of what is typed.
SecretText ReadHidden(const std::wstring& prompt) {
    DWORD mode = 0;
    if (!GetConsoleMode(Input(), &mode))
        throw SettingsError(
            {L"There is no console to ask for a password; --stdin takes it from another program."});
    Console::Line(prompt);
    const base::RollBack show([mode] { SetConsoleMode(Input(), mode); });
    SetConsoleMode(Input(), (mode | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT) & ~DWORD{ENABLE_ECHO_INPUT});
    SecretText line(kLongest);
    DWORD length = 0;
    ReadConsoleW(Input(), line.data(), static_cast<DWORD>(line.size()), &length, nullptr);
    line.resize(length);
    line.erase(std::ranges::find(line, L'\r'), line.end());
    return line;
}

SecretBytes ReadLine() {
    SecretBytes line;
    std::uint8_t byte = 0;
    DWORD read = 0;
    while (line.size() < kLongest && ReadFile(Input(), &byte, 1, &read, nullptr) && read == 1 && byte != '\n')
        line.push_back(byte);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

SecretText TextIn(const SecretBytes& utf8) {
    const auto convert = [&](wchar_t* text, int size) {
        return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, reinterpret_cast<const char*>(utf8.data()),
                                   static_cast<int>(utf8.size()), text, size);
    };
    SecretText text(static_cast<std::size_t>(convert(nullptr, 0)));
    convert(text.data(), static_cast<int>(text.size()));
    if (text.empty() && !utf8.empty())
        throw SettingsError({L"The password on the standard input is not UTF-8 text."});
    // What programs put before UTF-8.
    if (!text.empty() && text.front() == L'\uFEFF') text.erase(text.begin());
    return text;
}

}  // namespace

SecretText AskForPassword(const std::wstring& what) {
    SecretText password = NotEmpty(ReadHidden(what + L" (it is not shown):"));
    if (ReadHidden(L"Once more:") != password)
        throw SettingsError({L"The two passwords differ; nothing was changed."});
    return password;
}

SecretText ReadPasswordLine() { return NotEmpty(TextIn(ReadLine())); }
