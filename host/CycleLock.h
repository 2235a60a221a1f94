// Keeps two cycles of one installation apart: each would find the other's packets half-way.
#pragma once

#include <string>

#include "common/FileSystem.h"

/// Held while it exists. It ends with the process, too.
class CycleLock {
public:
    /// Throws com::Error when a cycle with this settings file is under way, whoever runs it.
    explicit CycleLock(const std::wstring& settingsFile);

private:
    FileSystem::Handle m_file;
};
