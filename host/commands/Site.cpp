// The commands verify and settings: the FTP site of an installation.
#include "base/Console.h"
#include "com/ErrorInfo.h"
#include "ftp/settings/AdminXml.h"
#include "ftp/settings/FtpPassword.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/session/ComApartment.h"
#include "host/session/Session.h"
#include "host/settings/SettingsChecks.h"
#include "host/settings/SettingsFile.h"

using Microsoft::WRL::ComPtr;

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

FtpSite ReadDocument(IUnknown* document, FtpSite site) {
    AdminXml::ReadSettings(document, site);
    return site;
}

}  // namespace

int commands::Verify(const Options& options) {
    const Settings settings = ReadSettings(options.AbsolutePath(), {&CheckFtp, &CheckLogFile});
    const ComApartment apartment;
    Session session(settings);
    std::wstring failure = session.VerifySite();
    if (!failure.empty()) {
        failure.erase(failure.find_last_not_of(L"\r\n") + 1);
        Console::ErrorLine(L"znhost: " + failure);
        return kSomethingLeft;
    }
    Console::Line(L"The FTP site works: a test file could be sent, fetched and deleted in both folders.");
    return kAllDelivered;
}

int commands::EditSettings(const Options& options) {
    Settings settings = ReadSettings(options.AbsolutePath(), {&CheckFtp, &CheckLogFile});
    // Whoever asks for a dialog is there to see it.
    settings.userInterface = true;
    const ComApartment apartment;
    Session session(settings);
    const FtpSite site = SiteOf(settings);
    const ComPtr<IUnknown> document = session.EditSite(AdminXml::NewDocument(&site).Get());
    const FtpSite edited = document ? ReadDocument(document.Get(), site) : site;
    // Old values that are applied look like a cancelled dialog; neither leaves a plain password in the file.
    if (edited == site && !settings.ftpPassword.isPlainInFile) {
        Console::Line(L"The settings stay as they were. If no dialog came up, " + settings.LogReference() +
                      L".");
        return kAllDelivered;
    }
    Take(edited, settings);
    WriteFtpSettings(settings);
    Console::Line(L"The settings are in " + settings.file);
    return kAllDelivered;
}
