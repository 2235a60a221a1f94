// Bytes as Base64.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/ByteStream.h"
#include "cipher/Secret.h"

/// On one line.
std::wstring Base64Of(base::Bytes bytes);
/// Nothing for a text that is none.
std::optional<SecretBytes> BytesOfBase64(std::wstring_view text);
