#include "sendrecv/FtpAdministration.h"

#include "com/ErrorInfo.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "ftp/settings/AdminXml.h"
#include "mobile/frmFTP.h"
#include "mobile/modMobileAdminXML.h"
#include "mobile/modverification.h"
#include "services/Registry.h"

using Microsoft::WRL::ComPtr;

ComPtr<IUnknown> FtpAdministration::Initialize(LONG sides, IUnknown* context) {
    *this = FtpAdministration();
    m_initialized = true;
    if (context) {
        ComPtr<IXMLDOMNode> document;
        com::Check(context->QueryInterface(IID_IXMLDOMNode, &document), L"administration document");
        AdminXml::ReadSettings(document.Get(), m_site);
    } else {
        ReadRegistry();
    }
    // The settings alone are checked: asking the tool's user, or a server, is the dialog's business.
    if (!modverification::VerifyFTPSite(m_site.server, m_site.user, m_site.password, m_site.enterpriseToField,
                                        m_site.fieldToEnterprise, false, false))
        return {};
    const auto document = GenerateFTPXML(sides, m_site.enterpriseToField, m_site.fieldToEnterprise,
                                         m_site.server, m_site.user, m_site.password);
    ComPtr<IXMLDOMElement> element;
    if (document) com::Check(document->get_documentElement(&element), L"administration document");
    return element;
}

ComPtr<IUnknown> FtpAdministration::Execute(LONG sides) {
    if (!m_initialized) {
        Report(L"clsFTPSndRcv.cls.IZNMobileAdminProperties_Execute: \r\n"
               L"Please Initialize IZNMobileAdminProperties before calling Execute.");
        return {};
    }
    frmFTP dialog;
    dialog.Execute(sides, m_site.enterpriseToField, m_site.fieldToEnterprise, m_site.server, m_site.user,
                   m_site.password);
    ComPtr<IXMLDOMDocument> document = dialog.GetXML();
    if (document) AdminXml::ReadSettings(document.Get(), m_site);
    return document;
}

void FtpAdministration::ReadRegistry() {
    IZNRegistry* const registry = OpenTransportKey();
    m_site.enterpriseToField = ReadText(registry, L"FTPEnterpriseToField");
    m_site.fieldToEnterprise = ReadText(registry, L"FTPFieldtoEnterprise");
    m_site.server = ReadText(registry, L"FTPServer");
    m_site.user = ReadText(registry, L"FTPUser");
    m_site.password = ReadText(registry, L"FTPPassword");
}
