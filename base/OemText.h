// Text of the code page that is the system's for MS-DOS, in which programs name what they put into archives.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace base {

/// Nothing where bytes mean nothing in the code page.
std::optional<std::wstring> FromOemCodePage(std::string_view text);

}  // namespace base
