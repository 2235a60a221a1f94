#include "sendrecv/Progress.h"

#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"

Progress::Progress(IUnknown* progress) {
    if (progress) com::Check(progress->QueryInterface(IID_PPV_ARGS(&m_progress)), L"progress object");
}

void Progress::SetRange(LONG low, LONG high) const {
    if (m_progress) com::Check(m_progress->SetRange(low, high));
}

void Progress::AddMessage(const std::wstring& text, ZNProgressLevel level) const {
    if (m_progress) com::Check(m_progress->AddMessage(com::Bstr(text).Get(), level));
}

void Progress::StatusText(const std::wstring& text) const {
    if (m_progress) com::Check(m_progress->put_StatusText(com::Bstr(text).Get()));
}

void Progress::Position(LONG value) const {
    if (m_progress) com::Check(m_progress->put_Position(value));
}

bool Progress::Cancelled() const {
    return m_progress && com::Get<bool>(&IZNProgress::get_Cancelled, m_progress.Get());
}
