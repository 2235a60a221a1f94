// The host's progress object; every use of it is skipped when the host gave none.
#pragma once

#include <wrl/client.h>

#include <string>

#include "znFrameworkUI.h"

class Progress {
public:
    /// progress: may be null. Throws when it is an object of another kind.
    explicit Progress(IUnknown* progress);

    void SetRange(LONG low, LONG high) const;
    void AddMessage(const std::wstring& text, ZNProgressLevel level) const;
    void StatusText(const std::wstring& text) const;
    void Position(LONG value) const;
    bool Cancelled() const;

private:
    Microsoft::WRL::ComPtr<IZNProgress> m_progress;
};
