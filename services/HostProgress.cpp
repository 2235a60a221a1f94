// See HostProgress.h.
#include "services/HostProgress.h"

#include "com/ErrorInfo.h"
#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "services/ScriptProgress.h"

HostProgress::HostProgress(IUnknown* progress, Where where) {
    if (!progress) return;
    const HRESULT result = progress->QueryInterface(IID_PPV_ARGS(&m_progress));
    if (SUCCEEDED(result)) return;
    Microsoft::WRL::ComPtr<IDispatch> scripted;
    if (FAILED(progress->QueryInterface(IID_PPV_ARGS(&scripted))))
        com::Check(result, L"progress object", where);
    m_progress = com::Make<ScriptProgress>(scripted.Get());
}

void HostProgress::SetRange(LONG low, LONG high, Where where) const {
    if (m_progress) com::Check(m_progress->SetRange(low, high), {}, where);
}

void HostProgress::AddMessage(const std::wstring& text, ZNProgressLevel level, Where where) const {
    if (m_progress) com::Check(m_progress->AddMessage(com::Bstr(text).Get(), level), {}, where);
}

void HostProgress::StatusText(const std::wstring& text, Where where) const {
    if (m_progress) com::Check(m_progress->put_StatusText(com::Bstr(text).Get()), {}, where);
}

void HostProgress::Position(LONG value, Where where) const {
    if (m_progress) com::Check(m_progress->put_Position(value), {}, where);
}

bool HostProgress::Cancelled(Where where) const {
    m_cancelled =
        m_cancelled || (m_progress && com::Get<bool>(&IZNProgress::get_Cancelled, {m_progress.Get(), where}));
    return m_cancelled;
}
