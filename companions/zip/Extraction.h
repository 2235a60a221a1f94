// Which member becomes which file.
#pragma once

#include <filesystem>
#include <vector>

#include "companions/zip/Member.h"
#include "companions/zip/Names.h"

namespace companions::zip {

struct Target {
    const Member* member = nullptr;
    std::filesystem::path path;  ///< relative to the destination folder
};

/// Throws FormatError when a member cannot be extracted under its name, or two of them have the same name:
/// nothing is extracted then. Folders are left out when paths are junked.
std::vector<Target> PlanExtraction(const std::vector<Member>& members, Paths paths);

}  // namespace companions::zip
