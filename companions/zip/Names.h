// Names of entries, and the names under which they may be extracted.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace companions::zip {

/// Reads text of a code page; nothing where bytes mean nothing in it.
using CodePage = std::optional<std::wstring> (*)(std::string_view text);

/// UTF-8 of a name in the character set of the original IBM PC, the format's default.
std::string FromCodePage437(std::string_view name);

enum class Paths { Keep, Junk };

/// The path, relative to the destination folder, under which an entry of this name, in UTF-8, is extracted.
/// Empty when nothing is left of the name, as of a folder when paths are junked. Throws FormatError when it
/// leads out of the folder, or is no name that Windows allows for a file.
std::wstring TargetPath(const std::string& name, Paths paths);

/// The name, in UTF-8, under which a file is added. Empty when the path names none.
std::string EntryName(std::wstring_view file, Paths paths);

}  // namespace companions::zip
