// What the user sees: Unicode on a console, UTF-8 where the output is redirected.
#pragma once

#include <string>
#include <string_view>

namespace Console {

/// True when standard output is a console and not a file or a pipe.
bool IsInteractive();
/// False where standard output leads nowhere.
bool IsThere();
void Line(std::wstring_view text);
void ErrorLine(std::wstring_view text);
/// Shows a line that the next output replaces; nothing where the output is redirected.
void Transient(const std::wstring& text);

}  // namespace Console
