// Keeps two cycles of one installation apart: each would find the other's packets half-way.
#pragma once

#include <string>

#include "base/File.h"

/// Held while it exists. It ends with the process, too. The settings file can be edited meanwhile, but not
/// replaced by another one, which nobody would hold.
class CycleLock {
public:
    /// Throws base::Error when a cycle with this settings file is under way, whoever runs it.
    explicit CycleLock(const std::wstring& settingsFile);

private:
    base::File m_file;
};
