// Bytes as hosts pass them in variants: arrays of bytes, arrays of numbers and strings, by value or by
// reference.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "cipher/Secret.h"
#include "com/Values.h"

namespace ByteArray {

/// The elements of an array, or the bytes of a string's 16-bit characters. Nothing for an array without
/// dimensions and for Empty. name: the parameter, for the error that anything else is.
std::optional<SecretBytes> Read(const VARIANT& value, const wchar_t* name);

/// Puts bytes into an in/out parameter. An array of as many elements keeps its place and type; anything else
/// is replaced, a variant's value by an array of bytes.
void Assign(VARIANT* target, std::span<const std::uint8_t> bytes, const wchar_t* name);

/// A new array of bytes.
com::Variant Make(std::span<const std::uint8_t> bytes);
/// A new array of the bytes of a text's 16-bit characters.
com::Variant Make(std::wstring_view text);
/// An array of bytes without dimensions.
com::Variant MakeBare();

}  // namespace ByteArray
