// The command doctor.
#include "base/Console.h"
#include "base/SystemError.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Table.h"
#include "host/doctor/Examination.h"
#include "host/record/Json.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SettingsFile.h"

#include <algorithm>

namespace {

/// Without settings there is nothing else to examine.
Findings Examine(const std::wstring& file) try {
    const Settings settings = ReadSettings(file);
    CheckPlaces(settings);
    Findings findings = {Good(L"settings", file)};
    ExamineFolders(settings, findings);
    ExaminePrograms(settings, findings);
    ExamineRemoteSide(settings, findings);
    ExamineLeftovers(settings, findings);
    return findings;
} catch (const SettingsError& error) {
    Findings findings;
    for (const std::wstring& problem : error.All())
        findings.push_back(
            Bad(L"settings", problem, L"Correct the settings file; docs/settings.md lists them."));
    return findings;
}

void Print(const Finding& finding) {
    Console::Line((finding.isGood ? L"ok    " : L"to do ") + std::wstring(finding.check) + L": " +
                  finding.what);
    if (!finding.isGood) Console::Line(L"      -> " + finding.advice);
}

}  // namespace

int commands::Doctor(const Options& options) {
    const Findings findings = Examine(options.AbsolutePath());
    const auto count = static_cast<std::size_t>(std::ranges::count(findings, false, &Finding::isGood));
    if (options.json) {
        for (const Finding& finding : findings)
            Console::Line(json::Check(finding));
    } else {
        for (const Finding& finding : findings)
            Print(finding);
        Console::Line(count == 0 ? L"All is well." : Counted(count, L"thing") + L" to do");
    }
    return count == 0 ? kAllDelivered : kSomethingLeft;
}
