// The calls into this module's objects that run on a thread. In the middle of one its host gets control, when
// its messages are processed or its objects are called; it can call again then, and drop objects.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <exception>
#include <vector>

#include "base/ErrorMode.h"

namespace com {

/// One call, while it runs.
class RunningCall {
public:
    RunningCall() noexcept;
    RunningCall(const RunningCall&) = delete;
    RunningCall& operator=(const RunningCall&) = delete;
    /// The outermost call releases what was kept.
    ~RunningCall();

    /// Takes over the last reference to an object, a member of which may be running, until the outermost call
    /// on this thread ends. False when none runs.
    static bool Keep(IUnknown* object) noexcept;

    /// Whether an exception is being handled that belongs to the innermost call. One that was being handled
    /// already when the call came in does not.
    static bool HandlesFailure() noexcept;

private:
    RunningCall* const m_outer;
    const std::exception_ptr m_handledOutside;
    std::vector<IUnknown*> m_kept;
    const base::QuietThread m_quiet;
};

}  // namespace com
