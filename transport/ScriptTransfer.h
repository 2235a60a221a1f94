// What a transfer that a script began tells, and who may stop it: the transporter with its event handlers,
// and the script's own progress object.
#pragma once

#include <wrl/client.h>

#include "com/Object.h"
#include "services/HostProgress.h"
#include "transport/clsTransporter.h"

class ScriptTransfer final : public com::Object<IZNProgress> {
public:
    /// progress: the script's, may be null. Throws when it is an object of another kind.
    ScriptTransfer(clsTransporter* transporter, IUnknown* progress)
        : m_transporter(transporter), m_progress(progress) {}

    STDMETHODIMP Reserved() override { return S_OK; }
    STDMETHODIMP SetRange(LONG Low, LONG High) override;
    STDMETHODIMP AddMessage(BSTR Text, LONG Level) override;
    STDMETHODIMP put_StatusText(BSTR Text) override;
    STDMETHODIMP put_Position(LONG Value) override;
    STDMETHODIMP get_Cancelled(VARIANT_BOOL* Value) override;

    /// Whether the sender/receiver was told to stop.
    bool WasStopped() const noexcept { return m_stopped; }

private:
    void Raise(DISPID event, const std::vector<com::Variant>& arguments);
    void RaiseProgress(LONG position);

    const Microsoft::WRL::ComPtr<clsTransporter> m_transporter;
    const HostProgress m_progress;
    LONG m_low = 0;
    LONG m_high = 1;
    bool m_stopped = false;
    bool m_handlerFailed = false;
};
