// See ActivationContext.h.
#include "com/ActivationContext.h"

#include <mutex>

#include "base/SystemError.h"

namespace com {

namespace {

std::mutex g_mutex;
ActivationContext g_kept;

void Keep(ActivationContext context) noexcept {
    const std::scoped_lock lock(g_mutex);
    std::swap(g_kept, context);
}

}  // namespace

Activation::Activation(ActivationContext context, base::Where where) : m_context(std::move(context)) {
    if (m_context && !ActivateActCtx(m_context.Get(), m_cookie.Put()))
        base::ThrowWin32(GetLastError(), L"activation context", where);
}

void KeepActiveContext() noexcept {
    HANDLE active = nullptr;
    if (GetCurrentActCtx(&active) && active) Keep(ActivationContext(active));
}

ActivationContext KeptContext() noexcept {
    const std::scoped_lock lock(g_mutex);
    if (!g_kept) return {};
    AddRefActCtx(g_kept.Get());
    return ActivationContext(g_kept.Get());
}

void DropKeptContext() noexcept { Keep({}); }

}  // namespace com
