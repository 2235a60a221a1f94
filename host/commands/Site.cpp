// The commands verify and settings: the server of an installation.
#include <chrono>

#include "base/Console.h"
#include "base/Error.h"
#include "com/ComApartment.h"
#include "com/Object.h"
#include "ftp/settings/FtpPassword.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ConsoleProgress.h"
#include "host/console/ExitCode.h"
#include "host/console/Interrupt.h"
#include "host/session/Session.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SettingsFile.h"

namespace {

std::wstring& EnterpriseToField(Settings& settings) {
    return settings.role == Role::Field ? settings.remoteReceive : settings.remoteSend;
}
std::wstring& FieldToEnterprise(Settings& settings) {
    return settings.role == Role::Field ? settings.remoteSend : settings.remoteReceive;
}

/// What the dialog edits, the password as documents hold it.
FtpSite SiteOf(Settings& settings) {
    return {settings.ftpServer, settings.ftpUser, TextOf(settings.ftpPassword), EnterpriseToField(settings),
            FieldToEnterprise(settings)};
}

void Take(const FtpSite& site, Settings& settings) {
    settings.ftpServer = site.server;
    settings.ftpUser = site.user;
    settings.ftpPassword.plain = FtpPassword::Decipher(site.password).value_or(L"");
    EnterpriseToField(settings) = site.enterpriseToField;
    FieldToEnterprise(settings) = site.fieldToEnterprise;
}

Settings ReadForDialog(const std::wstring& file) { return ReadSettings(file, {&CheckFtp, &CheckLogFile}); }

/// Whoever sits before a dialog may not see the console.
void Show(const std::wstring& problem) {
    Console::ErrorLine(L"znhost: " + problem);
    MessageBoxW(nullptr, problem.c_str(), L"znhost settings", MB_ICONWARNING | MB_SETFOREGROUND);
}

/// Writes a site into the settings that it was edited from; false when that is refused. What the settings
/// file refuses goes back into the dialog: only the user may give up what was typed. What somebody else has
/// written meanwhile takes its place: it would become the older state again.
bool Write(FtpSite& site, Settings& settings) try {
    Settings edited = settings;
    Take(site, edited);
    WriteFtpSettings(edited, settings);
    return true;
} catch (const SettingsChanged& change) {
    Show(change.Text());
    settings = ReadForDialog(settings.file);
    site = SiteOf(settings);
    return false;
} catch (const SettingsError& error) {
    Show(error.Text());
    return false;
} catch (const base::Error& error) {
    Show(L"The settings cannot be written. " + error.failure().description);
    return false;
}

int VerifyFtp(Session& session) {
    std::wstring report;
    std::wstring failure = session.VerifySite(report);
    if (!failure.empty()) {
        failure.erase(failure.find_last_not_of(L"\r\n") + 1);
        Console::ErrorLine(L"znhost: " + failure);
        return kSomethingLeft;
    }
    Console::Line(L"The FTP site works. " + report);
    return kAllDelivered;
}

std::wstring WhyNotVerified(const ConsoleProgress& progress, const Settings& settings) {
    if (Interrupt::Requested()) return L"stopped by the user.";
    if (progress.Failures().empty()) return L"the test could not be made: " + settings.LogReference();
    return L"the WebDAV server does not keep what packets need: see what failed.";
}

int VerifyHttps(Session& session, const Settings& settings) {
    const Interrupt interrupt;
    // Each wait for the server has an end of its own.
    const auto progress = com::Make<ConsoleProgress>(std::chrono::seconds(0));
    if (!session.VerifyServer(static_cast<IZNProgress*>(progress.Get()))) {
        Console::ErrorLine(L"znhost: " + WhyNotVerified(*progress.Get(), settings));
        return kSomethingLeft;
    }
    Console::Line(L"The WebDAV server keeps what packets need.");
    return kAllDelivered;
}

}  // namespace

int commands::Verify(const Options& options) {
    const Settings settings = ReadSettings(options.AbsolutePath(), {&CheckServer, &CheckLogFile});
    const ComApartment apartment;
    Session session(settings);
    return settings.transport == Transport::Ftp ? VerifyFtp(session) : VerifyHttps(session, settings);
}

int commands::Release(const Options& options) {
    const Settings settings = ReadSettings(options.AbsolutePath(), {&CheckHttps, &CheckLogFile});
    const ComApartment apartment;
    Session session(settings);
    const Interrupt interrupt;
    const auto progress = com::Make<ConsoleProgress>(std::chrono::seconds(0));
    if (session.ReleaseClaims(options.installation, static_cast<IZNProgress*>(progress.Get())))
        return kAllDelivered;
    Console::ErrorLine(L"znhost: not everything was released: " + settings.LogReference());
    return kSomethingLeft;
}

int commands::EditSettings(const Options& options) {
    Settings settings = ReadForDialog(options.AbsolutePath());
    // Whoever asks for a dialog is there to see it.
    settings.userInterface = true;
    const ComApartment apartment;
    Session session(settings);
    FtpSite site = SiteOf(settings);
    do {
        const ZNDialogEnd end = session.EditSite(site);
        if (end == ZN_DIALOG_FAILED)
            throw base::Error(E_FAIL, L"The dialog failed, or could not be shown: " +
                                          settings.LogReference() + L". The settings stay as they were in " +
                                          settings.file);
        if (end == ZN_DIALOG_CANCELLED) {
            Console::Line(L"Cancelled. The settings stay as they were in " + settings.file);
            return kAllDelivered;
        }
    } while (!Write(site, settings));
    Console::Line(L"The settings are in " + settings.file);
    return kAllDelivered;
}
