// Text as the system compares and encodes it.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace base {

/// Text of the system's 8-bit code page, in which the 8-bit functions of Windows speak.
std::wstring FromSystemCodePage(std::string_view text);
/// Throws when a character is not in the code page: a similar one in its place would name another file.
std::string ToSystemCodePage(const std::wstring& text);
bool FitsSystemCodePage(const std::wstring& text);
/// "0x" and the upper-case hexadecimal digits of a number.
std::wstring Hexadecimal(DWORD number);
std::wstring Upper(std::wstring_view text);
/// Such as a tab, or the end of a line.
bool HasControlCharacter(std::wstring_view text) noexcept;
/// With one blank for each run of control characters, and none at the ends.
std::wstring OnOneLine(std::wstring_view text);
/// Without blanks at both ends.
std::wstring_view Trimmed(std::wstring_view text) noexcept;
bool EqualsIgnoringCase(std::wstring_view left, std::wstring_view right) noexcept;

}  // namespace base
