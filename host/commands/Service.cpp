// The command service: the loop as a service of Windows.
#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "base/Console.h"
#include "base/Error.h"
#include "base/File.h"
#include "base/Module.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Interrupt.h"
#include "host/loop/Interval.h"
#include "host/loop/Loop.h"
#include "host/service/ServiceLog.h"
#include "host/service/ServiceManager.h"
#include "host/service/ServiceProcess.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SettingsFile.h"

namespace {

// The service manager is told a little more.
constexpr std::chrono::seconds kTimeToStop{20};

std::wstring NameOf(const Options& options) {
    return options.service.name.empty() ? L"znhost-" + Path::BaseName(options.path) : options.service.name;
}

/// Before the settings file in the command line of a service.
constexpr std::wstring_view kRun = L"\" service run \"";

/// What the service manager is to run.
std::wstring CommandLine(const Options& options, const std::wstring& settings) {
    return L"\"" + base::ProgramPath() + std::wstring(kRun) + settings + L"\" --every " +
           options.service.every + L" --name \"" + NameOf(options) + L"\"";
}

/// Empty for a command line that is none of ours.
std::wstring SettingsIn(const std::wstring& commandLine) {
    const std::size_t run = commandLine.find(kRun);
    if (run == std::wstring::npos) return {};
    const std::size_t start = run + kRun.size();
    return commandLine.substr(start, commandLine.find(L'"', start) - start);
}

/// The name of the service of the settings. Another installation's can have the same.
std::wstring InstalledName(const Options& options) {
    std::wstring name = NameOf(options);
    const std::wstring settings = SettingsIn(services::CommandLineOf(name));
    if (base::EqualsIgnoringCase(settings, options.AbsolutePath())) return name;
    throw base::Error(
        E_FAIL, L"Service " + name +
                    (settings.empty() ? L" does not run znhost" : L" runs with the settings " + settings) +
                    L"; name the one that you mean with --name.");
}

/// The service must decipher what the caller can.
void CheckPasswords(const std::wstring& settings, const std::wstring& account) {
    const Setting* const password = PasswordOfAccount(settings);
    if (password && !services::IsOwnAccount(account))
        throw SettingsError({settings +
                             L": a password was enciphered for your account alone, and the service runs as " +
                             account + L"; write it anew for all of this computer: " +
                             CommandOfPassword(settings, *password)});
}

/// Without rights to the settings, and to a log that would tell of that, a service would work for nothing.
/// What else is wrong with either may be right with the next cycle.
DWORD ObstacleFor(const std::wstring& settings, ServiceLog& log) try {
    base::ReadFile(settings);
    return NO_ERROR;
} catch (const base::SystemError& error) {
    const bool lacksRights = error.Code() == ERROR_ACCESS_DENIED && !log.CanBeWritten();
    return lacksRights ? ERROR_ACCESS_DENIED : NO_ERROR;
}

ServiceStart StartOf(const std::wstring& word) {
    if (word == L"auto") return ServiceStart::Automatic;
    return word == L"manual" ? ServiceStart::Manual : ServiceStart::Delayed;
}

}  // namespace

int commands::InstallService(const Options& options) {
    const ServiceRequest& request = options.service;
    const Settings settings =
        ReadSettings(options.AbsolutePath(), {&CheckNoFtpInService, &CheckNoNetworkDrives, &CheckFolders,
                                              &CheckPlaces, &CheckLogFile, &CheckPrograms});
    CheckPasswords(settings.file, request.account);
    services::Install({.name = NameOf(options),
                       .title = L"Packet transport (" + NameOf(options) + L")",
                       .purpose = L"Sends and receives packets every " + request.every + L", as " +
                                  settings.file + L" says.",
                       .commandLine = CommandLine(options, settings.file),
                       .account = request.account,
                       .password = request.password,
                       .start = StartOf(request.start)});
    Console::Line(L"Service " + NameOf(options) + L" is installed; \"znhost service start\" starts it now.");
    Console::Line(L"It runs as " + request.account + L", which needs rights to all folders of the settings.");
    Console::Line(L"Its log is " + ServiceLogPath(settings));
    return kAllDelivered;
}

int commands::RemoveService(const Options& options) {
    const std::wstring name = InstalledName(options);
    services::Remove(name);
    Console::Line(L"Service " + name + L" is removed.");
    return kAllDelivered;
}

int commands::StartService(const Options& options) {
    const std::wstring name = InstalledName(options);
    services::Start(name);
    Console::Line(L"Service " + name + L" runs.");
    return kAllDelivered;
}

int commands::StopService(const Options& options) {
    const std::wstring name = InstalledName(options);
    services::Stop(name);
    Console::Line(L"Service " + name + L" is stopped.");
    return kAllDelivered;
}

/// Bad settings end no service: they may be right with the next cycle.
int commands::RunService(const Options& options) {
    std::optional<ServiceLog> log;
    LoopRequest request{.settings = options.AbsolutePath(),
                        .interval = *IntervalOf(options.service.every),
                        .options = {L"--service", L"--every", options.service.every},
                        .stop = Interrupt::Event(),
                        .isAwaited = false,
                        .timeToStop = kTimeToStop,
                        .openOutput = [&] { return log->Open(); },
                        .tell = [&](const std::wstring& line) { log->Write(line); }};
    const auto timeToStop = std::chrono::milliseconds(kTimeToStop);
    RunAsService(
        NameOf(options), request.stop, static_cast<DWORD>(timeToStop.count()),
        [&] { return ObstacleFor(request.settings, log.emplace(request.settings)); },
        [&] {
            log->Write(L"the service has started");
            RunLoop(request);
            log->Write(L"the service has stopped");
        });
    return kAllDelivered;
}
