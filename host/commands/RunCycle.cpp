// The command run.
#include "com/ComApartment.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Interrupt.h"
#include "host/cycle/CycleLock.h"
#include "host/cycle/CycleReport.h"
#include "host/settings/SettingsChecks.h"

int commands::Run(const Options& options) {
    const Settings settings =
        ReadSettings(options.AbsolutePath(), {&CheckFolders, &CheckLogFile, &CheckPrograms});
    const CycleLock lock(settings.file);
    const ComApartment apartment;
    const Interrupt interrupt;
    Session session(settings);
    const CycleResult result = RunCycle(session, settings);
    PrintReport(result);
    return result.Complete() ? kAllDelivered : kSomethingLeft;
}
