// See RunningCall.h.
#include "com/RunningCall.h"

#include <new>

#include "base/ThreadSlot.h"

namespace com {

namespace {

const base::ThreadSlot<RunningCall> g_innermost;

}  // namespace

RunningCall::RunningCall() noexcept : m_outer(g_innermost.Get()), m_handledOutside(std::current_exception()) {
    g_innermost.Set(this);
}

RunningCall::~RunningCall() {
    g_innermost.Set(m_outer);
    for (IUnknown* const object : m_kept)
        object->Release();
}

bool RunningCall::Keep(IUnknown* object) noexcept {
    RunningCall* call = g_innermost.Get();
    if (!call) return false;
    while (call->m_outer)
        call = call->m_outer;
    try {
        call->m_kept.push_back(object);
    } catch (const std::bad_alloc&) {
        // Without memory the object stays for ever, which is better than to end it while it works.
        return true;
    }
    return true;
}

bool RunningCall::HandlesFailure() noexcept {
    const std::exception_ptr handled = std::current_exception();
    const RunningCall* const call = g_innermost.Get();
    return handled && !(call && handled == call->m_handledOutside);
}

}  // namespace com
