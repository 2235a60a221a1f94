// See Report.h.
#include "common/Report.h"

#include "base/SystemError.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"

void Report(std::wstring text, LONG eventType) {
    std::wstring source = ToolName();
    ZNReportError(text, source, false, eventType);
}

void Procedure::Report(std::wstring_view text, LONG eventType) const {
    ::Report(Lines(m_name, text), eventType);
}

bool Procedure::Fail(std::wstring_view text) const {
    Report(text);
    return false;
}

void Procedure::ReportCurrentError() const { Report(base::CurrentFailure().description); }
