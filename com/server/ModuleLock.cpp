// See ModuleLock.h.
#include "com/server/ModuleLock.h"

#include <atomic>

namespace com {

namespace {

std::atomic<long> g_locks = 0;

}  // namespace

ModuleLock::ModuleLock() noexcept { ++g_locks; }
ModuleLock::~ModuleLock() { --g_locks; }

void LockModule(bool lock) noexcept { g_locks += lock ? 1 : -1; }

bool IsModuleLocked() noexcept { return g_locks != 0; }

}  // namespace com
