// The command run.
#include <optional>

#include "base/Console.h"
#include "base/SystemError.h"
#include "com/ComApartment.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/Desktop.h"
#include "host/console/ExitCode.h"
#include "host/console/Interrupt.h"
#include "host/cycle/CycleLock.h"
#include "host/loop/CycleProcess.h"
#include "host/loop/Interval.h"
#include "host/record/RunInProgress.h"
#include "host/record/RunReport.h"
#include "host/record/StatusFile.h"
#include "host/service/ServiceLog.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SettingsError.h"

namespace {

bool IsOfLoop(const Options& options) { return options.run.cycle != 0; }

ReportForm FormOf(const Options& options) {
    if (options.json) return ReportForm::Json;
    if (IsOfLoop(options)) return ReportForm::Line;
    return options.run.quiet ? ReportForm::Quiet : ReportForm::Table;
}

/// Nobody is kept from anything, and nothing is made or changed: not even the log.
void DryRun(RunRecord& record) {
    record.isDryRun = true;
    EndRecord(record, PlanCycle(ReadSettingsWithoutPasswords(record.settings,
                                                             {&CheckFolders, &CheckPlaces, &CheckPrograms})));
}

/// A message box that nobody sees waits for good.
void AskNobodyUnseen(Settings& settings, const Options& options) {
    if (!settings.userInterface || (!options.run.inService && ShowsWindows())) return;
    Console::ErrorLine(L"znhost: " + Complaint(settings, SettingOf<&Settings::userInterface>(),
                                               L"nobody would see message boxes here, so that this cycle "
                                               L"shows none; set it to no"));
    settings.userInterface = false;
}

/// Whoever begins can have the log put right. Later, in a loop, that keeps no packet: the log of Windows
/// takes what there is to tell. Returns why.
std::optional<std::wstring> LeaveUnwritableLog(Settings& settings, const Options& options) try {
    CheckLogFile(settings);
    return std::nullopt;
} catch (const SettingsError& error) {
    if (!IsOfLoop(options)) throw;
    settings.logFile.clear();
    return error.Text();
}

/// interrupt: from here on, and until the run is told, the system waits for it before it ends the process.
void RunOnce(RunRecord& record, const Options& options, std::optional<Interrupt>& interrupt) {
    Settings settings = ReadSettings(record.settings, {&CheckFolders, &CheckPlaces, &CheckPrograms});
    const auto logFailure = LeaveUnwritableLog(settings, options);
    if (options.run.inService) CheckNoFtpInService(settings);
    AskNobodyUnseen(settings, options);
    const CycleLock lock(settings);
    interrupt.emplace();
    const RememberedRun remembered(record, settings);
    try {
        const ComApartment apartment;
        Session session(settings);
        CycleResult result = RunCycle(session, settings, TellingOf(FormOf(options)));
        if (logFailure) result.shownFailures.push_back(*logFailure);
        EndRecord(record, result);
    } catch (...) {
        EndRecord(record, base::CurrentFailure().description);
        throw;
    }
}

/// A service whose log cannot be opened has only that of Windows, where failures alone belong.
void Print(const RunRecord& record, const Options& options) {
    if (!options.run.inService || Console::IsThere()) return PrintReport(record, FormOf(options));
    if (record.end != RunEnd::Complete) TellWindows(record.settings + L": " + LineOf(record));
}

/// Of a complete cycle a loop that is to be quiet says nothing.
void Tell(const RunRecord& record, const Options& options) {
    const bool isComplete = record.end == RunEnd::Complete;
    if (!(IsOfLoop(options) && options.run.quiet && isComplete)) Print(record, options);
}

/// A line, or an object for programs, tells of a run without a cycle, too. Throws what ends the run: beside a
/// line there is nothing more to tell.
[[noreturn]] void EndWithoutCycle(const RunRecord& record, const Options& options, int exitCode) {
    const ReportForm form = FormOf(options);
    if (form == ReportForm::Json || form == ReportForm::Line) Print(record, options);
    if (form == ReportForm::Line) throw Ended{exitCode};
    throw;
}

int ExitCodeOf(const RunRecord& record, const Options& options) {
    if (record.end == RunEnd::Complete) return kAllDelivered;
    const bool transferWorked = record.end == RunEnd::Incomplete && !record.failure;
    return IsOfLoop(options) && transferWorked ? static_cast<int>(kCycleLeftPackets) : kSomethingLeft;
}

}  // namespace

int commands::Run(const Options& options) {
    if (!options.run.every.empty() && !IsOfLoop(options)) return RunSteadily(options);
    // Inherited from the loop.
    if (IsOfLoop(options)) Interrupt::Follow(reinterpret_cast<HANDLE>(options.run.cycle));
    std::optional<Interrupt> interrupt;
    RunRecord record = BeginRecord(options.AbsolutePath());
    record.interval = IntervalOf(options.run.every);
    try {
        if (options.run.dryRun)
            DryRun(record);
        else
            RunOnce(record, options, interrupt);
    } catch (const SettingsError& error) {
        EndRecord(record, error.Text());
        if (!record.isDryRun) RememberNoCycle(record);
        EndWithoutCycle(record, options, kBadUsage);
    } catch (...) {
        EndRecord(record, base::CurrentFailure().description);
        EndWithoutCycle(record, options, kSomethingLeft);
    }
    Tell(record, options);
    return ExitCodeOf(record, options);
}
