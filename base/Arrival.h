// Files on their way to their place: they lie beside it under names of their own, which are those of no
// packet.
#pragma once

#include <string>
#include <string_view>

#include "base/Error.h"
#include "base/File.h"

namespace FileSystem {

/// Where a file arrives before it takes its place: a path beside that, where no file lies.
std::wstring ArrivalPath(const std::wstring& destination);
/// A transient file at such a path.
base::File CreateArrival(const std::wstring& destination, base::Where where = base::Where::current());
/// Whether a name is that of a file which is still arriving in its folder.
bool IsArrival(std::wstring_view name) noexcept;
/// Whether whoever made such a file has ended, and could not remove it. Its source is where it was.
bool IsAbandonedArrival(const std::wstring& path);

}  // namespace FileSystem
