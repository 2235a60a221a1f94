// What procedures and members do with a failure: one report under their name, and a result that says so.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "base/Error.h"
#include "znSystem.h"

inline constexpr std::wstring_view kCrLf = L"\r\n";

/// Joins the parts of a report, each on a line of its own.
template <class... Parts>
std::wstring Lines(std::wstring first, const Parts&... others) {
    (first.append(kCrLf).append(others), ...);
    return first;
}

/// Reports under the tool's name, without throwing the current error again. Throws when the event log cannot
/// be written.
void Report(std::wstring text, LONG eventType = ZN_EVENTLOG_ERROR_TYPE);

/// Hears the errors that procedures report in this apartment while it exists, and what else is a reason for a
/// failure, for a caller who learns of them by an error of his own. Of several the innermost hears.
class HeardReports {
public:
    HeardReports();
    HeardReports(const HeardReports&) = delete;
    HeardReports& operator=(const HeardReports&) = delete;
    ~HeardReports();

    bool Any() const noexcept { return !m_text.empty(); }
    /// What was reported, without the names of procedures; the number is that of the first failure that was
    /// being handled, E_FAIL without one.
    base::Error AsError(std::wstring_view heading) const;

    /// Called with each of them.
    static void Hear(std::wstring_view text);

private:
    HeardReports* const m_outer;
    std::wstring m_text;
    HRESULT m_number = S_OK;
};

/// A procedure of a module or a member of a class, by the name that its reports begin with.
class Procedure {
public:
    /// name: "<module>.<procedure>" or "<class>.cls.<member>".
    explicit Procedure(std::wstring name) : m_name(std::move(name)) {}

    const std::wstring& Name() const noexcept { return m_name; }

    void Report(std::wstring_view text, LONG eventType = ZN_EVENTLOG_ERROR_TYPE) const;
    /// Reports, and is False, for the result of what failed.
    bool Fail(std::wstring_view text) const;
    /// Reports the exception that is being handled.
    void ReportCurrentError() const;

    /// Runs a body; one that throws is reported, and the result is failed.
    template <class Result, class Body>
    Result Guard(Result failed, Body&& body) const try {
        return body();
    } catch (...) {
        ReportCurrentError();
        return failed;
    }
    template <class Body>
    void Guard(Body&& body) const try {
        body();
    } catch (...) {
        ReportCurrentError();
    }

private:
    std::wstring m_name;
};

/// Runs a body whose failure disturbs nobody and is not even reported: the result is empty then.
template <class Body>
auto Quietly(Body&& body) noexcept -> decltype(body()) try {
    return body();
} catch (...) {
    return decltype(body())();
}
