// See Report.h.
#include "common/Report.h"

#include <utility>

#include "base/SystemError.h"
#include "com/RunningCall.h"
#include "common/Apartment.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"

void Report(std::wstring text, LONG eventType) {
    std::wstring source = ToolName();
    ZNReportError(text, source, false, eventType);
}

HeardReports::HeardReports() : m_outer(std::exchange(ThisApartment().heardReports, this)) {}

HeardReports::~HeardReports() {
    Quietly([&] { ThisApartment().heardReports = m_outer; });
}

base::Error HeardReports::AsError(std::wstring_view heading) const {
    const std::wstring reasons = Any() ? m_text : std::wstring(kCrLf) + L"The event log may tell why.";
    return {FAILED(m_number) ? m_number : E_FAIL, std::wstring(heading) + reasons};
}

void HeardReports::Hear(std::wstring_view text) {
    HeardReports* const heard = ThisApartment().heardReports;
    if (!heard) return;
    heard->m_text.append(kCrLf).append(text);
    if (heard->m_number != S_OK || !com::RunningCall::HandlesFailure()) return;
    const std::int32_t number = base::CurrentFailure().number;
    if (number != kNoUserInterface) heard->m_number = number;
}

void Procedure::Report(std::wstring_view text, LONG eventType) const {
    if (eventType == ZN_EVENTLOG_ERROR_TYPE) HeardReports::Hear(text);
    ::Report(Lines(m_name, text), eventType);
}

bool Procedure::Fail(std::wstring_view text) const {
    Report(text);
    return false;
}

void Procedure::ReportCurrentError() const { Report(base::CurrentFailure().description); }
