#include "sendrecv/FtpAdministration.h"

#include "com/Return.h"
#include "common/Registry.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "mobile/AdminXml.h"
#include "mobile/frmFTP.h"
#include "mobile/modMobileAdminXML.h"
#include "mobile/modverification.h"

using Microsoft::WRL::ComPtr;

ComPtr<IUnknown> FtpAdministration::Initialize(LONG sides, IUnknown* context) {
    *this = FtpAdministration();
    m_initialized = true;
    if (context) {
        ComPtr<IXMLDOMNode> document;
        com::Check(context->QueryInterface(IID_IXMLDOMNode, &document), L"administration document");
        ParseXML(document.Get());
    } else {
        ReadRegistry();
    }
    // The settings alone are checked: asking the tool's user, or a server, is the dialog's business.
    if (!modverification::VerifyFTPSite(m_server, m_user, m_password, m_enterpriseToField,
                                        m_fieldToEnterprise, false, false))
        return {};
    const auto document =
        GenerateFTPXML(sides, m_enterpriseToField, m_fieldToEnterprise, m_server, m_user, m_password);
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
    dialog.Execute(sides, m_enterpriseToField, m_fieldToEnterprise, m_server, m_user, m_password);
    ComPtr<IXMLDOMDocument> document = dialog.GetXML();
    if (document) ParseXML(document.Get());
    return document;
}

void FtpAdministration::ReadRegistry() {
    IZNRegistry* const registry = OpenTransportKey();
    m_enterpriseToField = ReadText(registry, L"FTPEnterpriseToField");
    m_fieldToEnterprise = ReadText(registry, L"FTPFieldtoEnterprise");
    m_server = ReadText(registry, L"FTPServer");
    m_user = ReadText(registry, L"FTPUser");
    m_password = ReadText(registry, L"FTPPassword");
}

void FtpAdministration::ParseXML(IXMLDOMNode* document) {
    AdminXml::ReadSetting(document, AdminXml::kFTPEnterpriseToField, m_enterpriseToField);
    AdminXml::ReadSetting(document, AdminXml::kFTPFieldToEnterprise, m_fieldToEnterprise);
    AdminXml::ReadSetting(document, AdminXml::kFTPServer, m_server);
    AdminXml::ReadSetting(document, AdminXml::kFTPUser, m_user);
    AdminXml::ReadSetting(document, AdminXml::kFTPPassword, m_password);
}
