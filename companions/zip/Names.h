// Names of members, and the names under which they may be extracted.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "companions/support/Fields.h"

namespace companions::zip {

bool IsUtf8(std::string_view text);
/// UTF-8 of a name in the character set of the original IBM PC, the format's default.
std::string FromOemCharacters(std::string_view name);
/// The name of a Unicode path field; nothing when it belongs to another name than this one.
std::optional<std::string> UnicodePath(FieldReader field, std::span<const std::uint8_t> name);

enum class Paths { Keep, Junk };

/// The path, relative to the destination folder, under which a member is extracted. Empty when nothing is
/// left of the name, as of a folder when paths are junked. Throws FormatError when it leads out of the
/// folder, or is no name that Windows allows for a file.
std::filesystem::path TargetPath(const std::string& name, Paths paths);

/// The same for two names that mean the same file.
std::filesystem::path::string_type Folded(const std::filesystem::path& path);

/// The name under which a file is added.
std::string MemberName(const std::filesystem::path& file, Paths paths);

}  // namespace companions::zip
