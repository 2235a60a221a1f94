// znhost: a command-line host of the transport library.
#include <windows.h>

#include <string>
#include <vector>

#include "base/Console.h"
#include "base/Environment.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "host/Apartment.h"
#include "host/Cycle.h"
#include "host/CycleLock.h"
#include "host/Demo.h"
#include "host/ExitCode.h"
#include "host/Installation.h"
#include "host/Interrupt.h"
#include "host/MobileConfig.h"
#include "host/Options.h"
#include "host/Report.h"
#include "host/Session.h"
#include "host/Settings.h"
#include "host/Site.h"
#include "host/Waiting.h"

namespace {

std::wstring Absolute(const std::wstring& path) { return FileSystem::FullPath(base::CurrentFolder(), path); }

int Init(const std::wstring& folder) {
    const Installation made = CreateInstallation(folder);
    Console::Line(L"Settings of the field computer: " + made.fieldSettings);
    Console::Line(L"Settings of the enterprise:     " + made.enterpriseSettings);
    Console::Line(L"Put packets into " + Path::Join(folder, L"field\\outbox") + L", then run: znhost run \"" +
                  made.fieldSettings + L"\"");
    return kAllDelivered;
}

/// Settings that can be worked with: folders and log are as they must be.
Settings UsableSettings(const std::wstring& file) {
    Settings settings = ReadSettings(file);
    CheckFolders(settings, file);
    CheckLogFile(settings, file);
    return settings;
}

/// Those of a cycle: it also runs the encoder's programs.
Settings CycleSettings(const std::wstring& file) {
    Settings settings = UsableSettings(file);
    CheckPrograms(settings, file);
    return settings;
}

int Run(const std::wstring& file) {
    const Settings settings = CycleSettings(file);
    const CycleLock lock(file);
    const ComApartment apartment;
    const Interrupt interrupt;
    Session session(settings);
    const CycleResult result = RunCycle(session, settings);
    PrintReport(result);
    return result.Complete() ? kAllDelivered : kSomethingLeft;
}

int List(const std::wstring& file) {
    const Settings settings = CycleSettings(file);
    const ComApartment apartment;
    Session session(settings);
    PrintWaiting(session, settings);
    return kAllDelivered;
}

int Backups(const std::wstring& file, const BackupRequest& request) {
    const Settings settings = UsableSettings(file);
    const ComApartment apartment;
    Session session(settings);
    return HandleBackups(session, request);
}

/// The folders and programs of a cycle need not be there.
int Config(const std::wstring& file) {
    const Settings settings = ReadSettings(file);
    CheckLogFile(settings, file);
    const ComApartment apartment;
    PrintMobileConfig(settings);
    return kAllDelivered;
}

/// Settings of an installation whose packets travel through an FTP server.
Settings FtpSettings(const std::wstring& file) {
    Settings settings = ReadSettings(file);
    CheckTransport(settings, Transport::Ftp, file);
    CheckLogFile(settings, file);
    return settings;
}

int Verify(const std::wstring& file) {
    const Settings settings = FtpSettings(file);
    const ComApartment apartment;
    Session session(settings);
    return VerifySite(session);
}

int Edit(const std::wstring& file) {
    Settings settings = FtpSettings(file);
    // Whoever asks for a dialog is there to see it.
    settings.userInterface = true;
    const ComApartment apartment;
    Session session(settings);
    return EditSite(session, settings, file);
}

int Execute(const Options& options) {
    switch (options.command) {
    case Command::Init:
        return Init(Absolute(options.path));
    case Command::Run:
        return Run(Absolute(options.path));
    case Command::List:
        return List(Absolute(options.path));
    case Command::Backups:
        return Backups(Absolute(options.path), options.backup);
    case Command::Config:
        return Config(Absolute(options.path));
    case Command::Verify:
        return Verify(Absolute(options.path));
    case Command::Settings:
        return Edit(Absolute(options.path));
    case Command::Demo:
        return RunDemo(options.path.empty() ? L"" : Absolute(options.path), options.keep, options.ftp);
    }
    return kBadUsage;
}

}  // namespace

int wmain(int count, wchar_t** arguments) try {
    return Execute(ParseOptions({arguments + 1, arguments + count}));
} catch (const Ended& ended) {
    return ended.exitCode;
} catch (const SettingsError& error) {
    for (const std::wstring& problem : error.Problems())
        Console::ErrorLine(L"znhost: " + problem);
    return kBadUsage;
} catch (...) {
    Console::ErrorLine(L"znhost: " + base::CurrentFailure().description);
    return kSomethingLeft;
}
