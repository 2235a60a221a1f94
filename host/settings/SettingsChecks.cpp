// See SettingsChecks.h.
#include "host/settings/SettingsChecks.h"

#include <vector>

#include "base/Error.h"
#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Module.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "host/settings/NestedFolders.h"
#include "host/settings/NetworkDrive.h"
#include "host/settings/Place.h"
#include "host/settings/SettingsFile.h"

namespace {

SettingsError Refusal(const Settings& settings, const Setting& setting, const std::wstring& problem) {
    return SettingsError({Complaint(settings, setting, problem)});
}

void CheckProgram(const Settings& settings, const Setting& folder, const wchar_t* program) {
    if (FileSystem::FileExists(Path::Join(folder.text(settings), program))) return;
    throw Refusal(settings, folder,
                  std::wstring(L"there is no ") + program +
                      L" in this folder; copy it there, name its folder, or set " +
                      SettingOf<&Settings::encoder>().Title() + L" = " + TextOf(EncoderKind::None));
}

Settings Checked(Settings settings, SettingsChecks checks) {
    for (const auto check : checks)
        check(settings);
    return settings;
}

SettingsError NeedsTransport(const Settings& settings, const std::wstring& transport) {
    constexpr const Setting& kTransport = SettingOf<&Settings::transport>();
    return Refusal(settings, kTransport,
                   std::wstring(L"this command needs ") + kTransport.name + L" = " + transport);
}

}  // namespace

void CheckFtp(const Settings& settings) {
    if (settings.transport != Transport::Ftp) throw NeedsTransport(settings, TextOf(Transport::Ftp));
}

void CheckHttps(const Settings& settings) {
    if (settings.transport != Transport::Https) throw NeedsTransport(settings, TextOf(Transport::Https));
}

void CheckServer(const Settings& settings) {
    if (!settings.HasServer())
        throw NeedsTransport(settings,
                             TextOf(Transport::Ftp) + std::wstring(L" or ") + TextOf(Transport::Https));
}

void CheckNoFtpInService(const Settings& settings) {
    if (settings.transport == Transport::Ftp)
        throw Refusal(settings, SettingOf<&Settings::transport>(),
                      L"Windows does not support its FTP functions in services; let the Task Scheduler run "
                      L"znhost run --every in the account of a user, logged on or not, by the task in "
                      L"docs/operations.md");
}

void CheckNoNetworkDrives(const Settings& settings) {
    Problems problems;
    for (const std::wstring& path : {settings.file, base::ProgramPath()})
        if (const auto advice = NetworkDriveAdvice(path)) problems.push_back(path + L": " + *advice);
    for (const Setting& setting : kSettings)
        if (const auto advice = NetworkDriveAdvice(setting.text(settings)))
            problems.push_back(Complaint(settings, setting, *advice));
    if (!problems.empty()) throw SettingsError(problems);
}

void CheckFolders(const Settings& settings) {
    Problems problems;
    for (const Setting& setting : kSettings)
        if (setting.kind == ValueKind::Folder && FileSystem::FileExists(setting.text(settings)))
            problems.push_back(Complaint(settings, setting, L"this is a file, not a folder"));
    if (!problems.empty()) throw SettingsError(problems);
    if (!FileSystem::FolderExists(settings.outbox))
        throw Refusal(settings, SettingOf<&Settings::outbox>(), L"there is no such folder");
}

void CheckPlaces(const Settings& settings) {
    Places places;
    std::vector<LocatedFolder> folders;
    for (const Setting& setting : kSettings) {
        const bool isHere = setting.kind == ValueKind::Folder ||
                            (setting.kind == ValueKind::RemoteFolder && !settings.HasServer());
        const std::wstring path = setting.text(settings);
        if (isHere && !path.empty()) folders.push_back({&setting, places.OnTheWayTo(path)});
    }
    const Problems problems = NestedFolders(settings, folders, L", where its path leads, too");
    if (!problems.empty()) throw SettingsError(problems);
}

void CheckPrograms(const Settings& settings) {
    if (settings.encoder == EncoderKind::Zip)
        CheckProgram(settings, SettingOf<&Settings::zip, &EncoderSettings::programFolder>(), L"Zip.exe");
    if (settings.encoder == EncoderKind::XDelta)
        CheckProgram(settings, SettingOf<&Settings::xdelta, &EncoderSettings::programFolder>(),
                     L"xDelta.exe");
}

/// Somebody who reads the log keeps no packet here: what cannot be written there goes to Windows' own.
bool MayBeWrittenLater(const base::SystemError& error) {
    return error.Code() == ERROR_SHARING_VIOLATION || error.Code() == ERROR_LOCK_VIOLATION;
}

void AppendNothing(const std::wstring& log) try {
    FileSystem::CreateFolders(Path::ParentFolder(log));
    base::AppendToFile(log, "");
} catch (const base::SystemError& error) {
    if (!MayBeWrittenLater(error)) throw;
}

/// What is reported would end up in what runs are steered by, or in what differences are made against.
void CheckLogIsNone(const Settings& settings, const std::wstring& other, const wchar_t* what) {
    if (!other.empty() && AreOnePlace(settings.logFile, other))
        throw Refusal(settings, SettingOf<&Settings::logFile>(),
                      std::wstring(L"the log must not be ") + what + L"; name a file of its own");
}

void CheckLogFile(const Settings& settings) try {
    if (settings.logFile.empty()) return;
    CheckLogIsNone(settings, settings.file, L"the settings file");
    CheckLogIsNone(settings, settings.xdelta.referencePath, L"the reference file");
    AppendNothing(settings.logFile);
} catch (const base::Error& error) {
    throw Refusal(settings, SettingOf<&Settings::logFile>(),
                  L"the log cannot be written: " + error.failure().description);
}

Settings ReadSettings(const std::wstring& file, SettingsChecks checks) {
    return Checked(ReadSettings(file), checks);
}

Settings ReadSettingsWithoutPasswords(const std::wstring& file, SettingsChecks checks) {
    return Checked(ReadSettingsWithoutPasswords(file), checks);
}
