// Text files that grow, entry by entry, up to a size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Error.h"

namespace base {

struct LogLimits {
    std::uint64_t size = 0;  ///< bytes; 0 for none
    std::size_t kept = 0;    ///< how many files stay that were set aside; 0 for all
};

/// Appends an entry. Before that would make the file too long, the file is set aside under a name with a
/// number, "<name>.1.log" for "<name>.log"; the higher the number, the later, whatever the clock says. A file
/// that cannot be set aside now, because somebody reads it, grows on. Several processes may do so at once.
void AppendToLog(const std::wstring& path, std::string_view entry, LogLimits limits,
                 Where where = Where::current());

/// Sets a file aside that has reached its size already.
void SetAsideFullLog(const std::wstring& path, LogLimits limits) noexcept;

}  // namespace base
