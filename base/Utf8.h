// Text between UTF-8 and the wide characters of the system that the code runs on. Portable.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace base {

/// U+FFFD stands for each byte that belongs to no character.
std::wstring FromUtf8(std::string_view text);
/// Nothing when the bytes are not UTF-8: cut off, longer than necessary, or half of a surrogate pair.
std::optional<std::wstring> DecodedUtf8(std::string_view bytes);
/// U+FFFD stands for half of a surrogate pair, which Windows allows in names.
std::string ToUtf8(std::wstring_view text);

}  // namespace base
