// What must hold before a program writes its output.
#pragma once

#include <cstdint>
#include <string>

namespace companions {

/// Throws when both are the same file, however their paths are spelled: the output would destroy what it is
/// made of. An output that does not exist yet is another file.
void CheckIsOther(const std::wstring& output, const std::wstring& input);

/// Throws when what is made of a file, so many bytes, has no room in a folder.
void CheckRoom(const std::wstring& file, std::uint64_t size, const std::wstring& folder);

}  // namespace companions
