// The host's progress object as a C++ value; every use of it is skipped when the host gave none.
#pragma once

#include <wrl/client.h>

#include <string>

#include "base/Error.h"
#include "znFrameworkUI.h"

/// Throws what the host's object fails with.
class HostProgress {
public:
    using Where = base::Where;

    /// progress: an IZNProgress, or an object of a script, which is called by name; may be null. Throws when
    /// it is an object of another kind.
    explicit HostProgress(IUnknown* progress, Where where = Where::current());

    void SetRange(LONG low, LONG high, Where where = Where::current()) const;
    void AddMessage(const std::wstring& text, ZNProgressLevel level, Where where = Where::current()) const;
    void StatusText(const std::wstring& text, Where where = Where::current()) const;
    void Position(LONG value, Where where = Where::current()) const;
    /// Whether the host has asked to stop, even if it tells so only once.
    bool Cancelled(Where where = Where::current()) const;

private:
    Microsoft::WRL::ComPtr<IZNProgress> m_progress;
    mutable bool m_cancelled = false;
};
