#include "host/Site.h"

#include "base/Console.h"
#include "com/ErrorInfo.h"
#include "ftp/settings/AdminXml.h"
#include "ftp/settings/FtpPassword.h"
#include "host/ExitCode.h"

using Microsoft::WRL::ComPtr;

namespace {

/// What the dialog edits, the password as documents hold it.
FtpSite SiteOf(const Settings& settings) {
    const bool field = settings.role == Role::Field;
    return {settings.ftpServer, settings.ftpUser,
            settings.ftpPassword.empty() ? L"" : FtpPassword::Encipher(settings.ftpPassword),
            field ? settings.remoteReceive : settings.remoteSend,
            field ? settings.remoteSend : settings.remoteReceive};
}

void Take(const FtpSite& site, Settings& settings) {
    const bool field = settings.role == Role::Field;
    settings.ftpServer = site.server;
    settings.ftpUser = site.user;
    settings.ftpPassword = FtpPassword::Decipher(site.password);
    (field ? settings.remoteReceive : settings.remoteSend) = site.enterpriseToField;
    (field ? settings.remoteSend : settings.remoteReceive) = site.fieldToEnterprise;
}

FtpSite ReadDocument(IUnknown* document, FtpSite site) {
    ComPtr<IXMLDOMNode> root;
    com::Check(document->QueryInterface(IID_IXMLDOMNode, &root), L"administration document");
    AdminXml::ReadSettings(root.Get(), site);
    return site;
}

}  // namespace

int VerifySite(Session& session) {
    std::wstring failure = session.VerifySite();
    if (!failure.empty()) {
        failure.erase(failure.find_last_not_of(L"\r\n") + 1);
        Console::ErrorLine(L"znhost: " + failure);
        return kSomethingLeft;
    }
    Console::Line(L"The FTP site works: a test file could be sent, fetched and deleted in both folders.");
    return kAllDelivered;
}

int EditSite(Session& session, Settings settings, const std::wstring& file) {
    const FtpSite site = SiteOf(settings);
    const ComPtr<IUnknown> document = session.EditSite(AdminXml::NewDocument(&site).Get());
    const FtpSite edited = document ? ReadDocument(document.Get(), site) : site;
    // Old values that are applied look like a cancelled dialog; neither leaves a plain password in the file.
    if (edited == site && !settings.fileTellsPassword) {
        Console::Line(L"The settings stay as they were. If no dialog came up, " + LogReference(settings) +
                      L".");
        return kAllDelivered;
    }
    Take(edited, settings);
    WriteFtpSettings(settings, file);
    Console::Line(L"The settings are in " + file);
    return kAllDelivered;
}
