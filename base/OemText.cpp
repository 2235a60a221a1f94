// See OemText.h.
#include "base/OemText.h"

#include <windows.h>

namespace base {

std::optional<std::wstring> FromOemCodePage(std::string_view text) {
    const auto convert = [&](wchar_t* out, int size) {
        return MultiByteToWideChar(CP_OEMCP, MB_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()),
                                   out, size);
    };
    std::wstring result(static_cast<size_t>(convert(nullptr, 0)), L'\0');
    if (result.empty() && !text.empty()) return std::nullopt;
    convert(result.data(), static_cast<int>(result.size()));
    return result;
}

}  // namespace base
