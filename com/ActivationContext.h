// Activation contexts: the classes of the assemblies that one names need no registration while it is active.
#pragma once

#include <windows.h>

#include "base/Error.h"
#include "base/Handle.h"

namespace com {

struct ActivationContextTraits {
    using Value = HANDLE;
    static Value None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value context) noexcept { ReleaseActCtx(context); }
};
using ActivationContext = base::UniqueHandle<ActivationContextTraits>;

/// A context is active in the calling thread while it exists.
class Activation {
public:
    /// Without a context nothing changes. Throws a failure when the system refuses it.
    explicit Activation(ActivationContext context, base::Where where = base::Where::current());

private:
    struct CookieTraits {
        using Value = ULONG_PTR;
        static Value None() noexcept { return 0; }
        static void Close(Value cookie) noexcept { DeactivateActCtx(0, cookie); }
    };

    ActivationContext m_context;
    base::UniqueHandle<CookieTraits> m_cookie;
};

/// Keeps the context that is active in the calling thread, for KeptContext. Called when a host creates an
/// object of this module: the host may activate the context for that moment alone. That of the process, which
/// is in force where no other is active, replaces none.
void KeepActiveContext() noexcept;
/// In which the module's objects create others; may be none.
ActivationContext KeptContext() noexcept;
void DropKeptContext() noexcept;

}  // namespace com
