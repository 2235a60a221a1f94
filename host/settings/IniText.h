// Sets values in the text of a settings file, of which whatever else it holds stays as it is.
#pragma once

#include <string>
#include <string_view>

namespace IniText {

/// Both names in any letter case. What is missing is added: a name at the end of its section, a section at
/// that of the text. value: as files hold it. False for a text that is not UTF-8.
bool SetValue(std::string& text, std::wstring_view section, std::wstring_view name,
              const std::wstring& value);

/// Without the blanks and tabs at its ends, which belong to no name and to no value without quotes.
std::wstring_view Trimmed(std::wstring_view text) noexcept;

}  // namespace IniText
