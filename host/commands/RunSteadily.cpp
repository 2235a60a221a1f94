// The command run, again and again.
#include <chrono>

#include "base/Console.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Interrupt.h"
#include "host/console/UnmarkedConsole.h"
#include "host/loop/CycleProcess.h"
#include "host/loop/Interval.h"
#include "host/loop/Loop.h"
#include "host/record/RunInProgress.h"
#include "host/record/RunReport.h"
#include "host/record/StatusFile.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SettingsError.h"

namespace {

/// What is wrong from the beginning is told at once, to somebody who may have mistyped it; what becomes wrong
/// later ends no loop. Where nobody is there, such as at the start of the computer, a task starts the loop
/// again.
void CheckAtTheBeginning(const std::wstring& settings, const Options& options) try {
    ReadSettings(settings, {&CheckFolders, &CheckPlaces, &CheckLogFile, &CheckPrograms});
} catch (const SettingsError& error) {
    RunRecord record = BeginRecord(settings);
    EndRecord(record, error.Text());
    RememberNoCycle(record);
    if (options.json) PrintReport(record, ReportForm::Json);
    throw;
}

}  // namespace

int commands::RunSteadily(const Options& options) {
    const std::wstring settings = options.AbsolutePath();
    CheckAtTheBeginning(settings, options);
    const Interrupt interrupt;
    const UnmarkedConsole console;
    LoopRequest request{.settings = settings,
                        .interval = *IntervalOf(options.run.every),
                        .options = {L"--every", options.run.every},
                        .stop = Interrupt::Event(),
                        // Whoever does not want to wait for the file at hand says so once more.
                        .timeToStop = std::chrono::milliseconds(INFINITE),
                        .tell = [](const std::wstring& line) { Console::ErrorLine(L"znhost: " + line); }};
    if (options.json) request.options.emplace_back(L"--json");
    if (options.run.quiet) request.options.emplace_back(L"--quiet");
    const DWORD end = RunLoop(request);
    if (end == kCycleHadBadSettings) return kBadUsage;
    return end == kCycleComplete ? kAllDelivered : kSomethingLeft;
}
