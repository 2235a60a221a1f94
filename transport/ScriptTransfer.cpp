// See ScriptTransfer.h.
#include "transport/ScriptTransfer.h"

#include "com/Result.h"
#include "com/Values.h"
#include "services/ScriptMember.h"

using com::Call;
using com::Variant;

namespace {

// The numbers of the events.
constexpr DISPID kProgress = 1;
constexpr DISPID kMessage = 2;
constexpr DISPID kStatus = 3;

}  // namespace

/// A handler that fails must neither end the transfer nor stay unseen.
void ScriptTransfer::Raise(DISPID event, const std::vector<Variant>& arguments) {
    m_transporter->Handlers().Raise(event, arguments, [&] {
        WarnOfScript(L"clsTransporter.cls.Events", L"A handler of the transporter's events", m_handlerFailed);
    });
}

void ScriptTransfer::RaiseProgress(LONG position) {
    Raise(kProgress, {Variant(position), Variant(m_low), Variant(m_high)});
}

STDMETHODIMP ScriptTransfer::SetRange(LONG Low, LONG High) {
    return Call([&] {
        m_low = Low;
        m_high = High;
        m_progress.SetRange(Low, High);
        RaiseProgress(Low);
    });
}

STDMETHODIMP ScriptTransfer::AddMessage(BSTR Text, LONG Level) {
    return Call([&] {
        m_progress.AddMessage(com::Text(Text), static_cast<ZNProgressLevel>(Level));
        Raise(kMessage, {Variant(com::Text(Text)), Variant(Level)});
    });
}

STDMETHODIMP ScriptTransfer::put_StatusText(BSTR Text) {
    return Call([&] {
        m_progress.StatusText(com::Text(Text));
        Raise(kStatus, {Variant(com::Text(Text))});
    });
}

STDMETHODIMP ScriptTransfer::put_Position(LONG Value) {
    return Call([&] {
        m_progress.Position(Value);
        RaiseProgress(Value);
    });
}

STDMETHODIMP ScriptTransfer::get_Cancelled(VARIANT_BOOL* Value) {
    return com::Return(Value, [&] {
        const bool cancelled = m_progress.Cancelled() || m_transporter->IsCancelled();
        m_stopped = m_stopped || cancelled;
        return cancelled;
    });
}
