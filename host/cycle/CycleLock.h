// Keeps two cycles of one installation apart: each would find the other's packets half-way.
#pragma once

#include <optional>
#include <string>

#include "base/File.h"
#include "host/settings/Settings.h"

/// Held while it exists. It ends with the process, too. The settings file can be edited meanwhile, but not
/// replaced by another one, which nobody would hold.
class CycleLock {
public:
    /// Throws base::Error when a cycle with these settings, or with the send or receive folder of other ones,
    /// is under way, whoever runs it.
    explicit CycleLock(const Settings& settings);

private:
    base::File m_settings;
    // Nothing where no file can be made beside the folder.
    std::optional<base::File> m_send;
    std::optional<base::File> m_receive;
};

/// Whether a run works with the send folder, whoever runs it. Nothing where its lock cannot be asked.
std::optional<bool> IsAtWork(const Settings& settings);
