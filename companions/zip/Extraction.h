// Which entry becomes which file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "companions/zip/Entry.h"
#include "companions/zip/Names.h"

namespace companions::zip {

struct Target {
    const Entry* entry = nullptr;
    std::wstring path;  ///< relative to the destination folder
};

/// Makes the same of two paths that mean the same file.
using Folding = std::wstring (*)(std::wstring_view path);

/// Throws FormatError when an entry cannot be extracted under its name, or two of them have the same name:
/// nothing is extracted then. Folders are left out when paths are junked.
std::vector<Target> PlanExtraction(const std::vector<Entry>& entries, Paths paths, Folding fold);

}  // namespace companions::zip
