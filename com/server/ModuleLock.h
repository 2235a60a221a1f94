// Counts what keeps a module loaded.
#pragma once

namespace com {

/// Keeps the module loaded while it exists.
class ModuleLock {
public:
    ModuleLock() noexcept;
    ModuleLock(const ModuleLock&) = delete;
    ModuleLock& operator=(const ModuleLock&) = delete;
    ~ModuleLock();
};

/// A lock that a host takes and gives back.
void LockModule(bool lock) noexcept;

bool IsModuleLocked() noexcept;

}  // namespace com
