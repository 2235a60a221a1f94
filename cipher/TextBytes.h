// Text as bytes: its 16-bit characters, low byte first, and hexadecimal digits. Portable.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cipher/Secret.h"

/// Two bytes per character.
SecretBytes BytesOf(std::wstring_view text);
/// A character per two bytes; a single last byte is left out.
std::wstring TextOf(std::span<const std::uint8_t> bytes);

/// Two upper-case digits per byte.
std::wstring HexadecimalOf(std::span<const std::uint8_t> bytes);
/// Whether every character is a hexadecimal digit, in either letter case.
bool IsHexadecimal(std::wstring_view text);
/// A byte per pair of characters; 0 for a pair that is not two hexadecimal digits. A single last character is
/// left out.
std::vector<std::uint8_t> BytesOfHexadecimal(std::wstring_view text);
