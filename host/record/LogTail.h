// What was written to the log from some moment on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/settings/Settings.h"

class LogTail {
public:
    /// Begins now.
    explicit LogTail(const Settings& settings);

    /// The text of the first error since then, on one line, without what tells where in the sources it was.
    /// Nothing without one, or without a log that can be read.
    std::optional<std::wstring> FirstError() const;

private:
    const std::wstring m_path;    ///< empty for none
    const std::uint64_t m_start;  ///< bytes
};
