// The command run, again and again.
#include "base/Console.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Interrupt.h"
#include "host/loop/CycleProcess.h"
#include "host/loop/Interval.h"
#include "host/loop/Loop.h"
#include "host/settings/SettingsChecks.h"

namespace {

// Longer than the system waits for a program whose console or session ends.
constexpr std::chrono::seconds kTimeToStop{60};

}  // namespace

int commands::RunSteadily(const Options& options) {
    const std::wstring settings = options.AbsolutePath();
    // What is wrong from the beginning is told at once; what becomes wrong later ends no loop.
    ReadSettings(settings, {&CheckFolders, &CheckLogFile, &CheckPrograms});
    const Interrupt interrupt;
    LoopRequest request{.settings = settings,
                        .interval = *IntervalOf(options.run.every),
                        .stop = Interrupt::Event(),
                        .timeToStop = kTimeToStop,
                        .tell = [](const std::wstring& line) { Console::ErrorLine(L"znhost: " + line); }};
    if (options.json) request.options.emplace_back(L"--json");
    if (options.run.quiet) request.options.emplace_back(L"--quiet");
    const DWORD end = RunLoop(request);
    if (end == kCycleHadBadSettings) return kBadUsage;
    return end == kCycleComplete ? kAllDelivered : kSomethingLeft;
}
