// Paths of URLs as names, and names as paths. Portable.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace UrlPath {

/// A name as one segment of a path: its UTF-8, percent-encoded but for letters, digits and "-._~".
std::string Encode(std::wstring_view name);
/// A path of names with "/" between them, each encoded.
std::string EncodePath(std::wstring_view path);
/// The name that a segment stands for. Nothing where an escape is cut off, or what it spells is no UTF-8.
std::optional<std::wstring> Decode(std::string_view segment);
/// The name that a reference ends with, be it an absolute URL or a path, with or without "/" at its end.
/// Nothing where that is no name: a server may write one in many ways, but the last segment tells it.
std::optional<std::wstring> LastName(std::string_view reference);

}  // namespace UrlPath
