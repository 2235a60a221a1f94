// Moments as headers of HTTP and properties of WebDAV have them. Portable.
#pragma once

#include <optional>
#include <string_view>

#include "base/FileTime.h"

/// "Sun, 06 Nov 1994 08:49:37 GMT"; nothing for a text in another form.
std::optional<base::FileTime> HttpDateIn(std::string_view text);
