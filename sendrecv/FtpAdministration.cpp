// See FtpAdministration.h.
#include "sendrecv/FtpAdministration.h"

#include "com/ErrorInfo.h"
#include "common/Report.h"
#include "ftp/settings/AdminXml.h"
#include "ftp/settings/FtpPassword.h"
#include "ftp/settings/FtpSettings.h"
#include "mobile/frmFTP.h"
#include "mobile/modMobileAdminXML.h"
#include "services/Registry.h"

using Microsoft::WRL::ComPtr;

namespace {

void ReadRegistry(FtpSite& site) {
    IZNRegistry* const registry = OpenTransportKey();
    for (const FtpSetting& setting : kFtpSettings)
        site.*setting.member = ReadText(registry, setting.name);
    site.password = FtpPassword::ForDocuments(site.password);
}

}  // namespace

ComPtr<IUnknown> FtpAdministration::Initialize(LONG sides, IUnknown* context) {
    const Procedure self(L"clsFTPSndRcv.cls.IZNMobileAdminProperties_Initialize");
    return self.Guard(ComPtr<IUnknown>(), [&] {
        FtpSite& site = m_site.emplace();
        if (context)
            AdminXml::ReadSettings(context, site);
        else
            ReadRegistry(site);
        // The settings alone are checked: asking the tool's user, or a server, is the dialog's business.
        const auto document = modMobileAdminXML::GenerateFTPXML(sides, site);
        ComPtr<IXMLDOMElement> element;
        if (document) com::Check(document->get_documentElement(&element), L"administration document");
        return element;
    });
}

ComPtr<IUnknown> FtpAdministration::Execute(LONG sides) {
    const Procedure self(L"clsFTPSndRcv.cls.IZNMobileAdminProperties_Execute");
    m_dialogEnd = ZN_DIALOG_FAILED;
    return self.Guard(ComPtr<IUnknown>(), [&]() -> ComPtr<IUnknown> {
        if (!m_site) {
            Report(Lines(self.Name() + L": ",
                         L"Please Initialize IZNMobileAdminProperties before calling Execute."));
            return {};
        }
        frmFTP dialog;
        m_dialogEnd = dialog.Execute(sides, *m_site);
        const ComPtr<IXMLDOMDocument> document = dialog.GetXML();
        if (document) AdminXml::ReadSettings(document.Get(), *m_site);
        return document;
    });
}
