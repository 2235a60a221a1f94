#include "host/Site.h"

#include <msxml2.h>

#include <array>
#include <utility>

#include "cipher/FtpPassword.h"
#include "com/Return.h"
#include "com/XmlDocument.h"
#include "common/Console.h"
#include "host/ExitCode.h"

using Microsoft::WRL::ComPtr;

namespace {

/// An administration document without settings.
constexpr wchar_t kEmptyDocument[] =
    L"<MOBILECONFIGURATIONROOT><MOBILECONFIGURATION KeyName=\"SENDERRECEIVER\">"
    L"<HKEY KeyName=\"ZN_LOCAL_MACHINE\"><BASEKEY KeyName=\"znMobile\"><KEY "
    L"KeyName=\"Transport\"/></BASEKEY></HKEY>"
    L"</MOBILECONFIGURATION></MOBILECONFIGURATIONROOT>";

/// The site's settings by their names in an administration document.
using SiteValues = std::array<std::pair<const wchar_t*, std::wstring>, 5>;

SiteValues ValuesOf(const Settings& settings) {
    const bool field = settings.role == Role::Field;
    return {
        {{L"FTPServer", settings.ftpServer},
         {L"FTPUser", settings.ftpUser},
         {L"FTPPassword", settings.ftpPassword.empty() ? L"" : FtpPassword::Encipher(settings.ftpPassword)},
         {L"FTPEnterpriseToField", field ? settings.remoteReceive : settings.remoteSend},
         {L"FTPFieldtoEnterprise", field ? settings.remoteSend : settings.remoteReceive}}};
}

void Take(const SiteValues& values, Settings& settings) {
    const bool field = settings.role == Role::Field;
    settings.ftpServer = values[0].second;
    settings.ftpUser = values[1].second;
    settings.ftpPassword = FtpPassword::Decipher(values[2].second);
    (field ? settings.remoteReceive : settings.remoteSend) = values[3].second;
    (field ? settings.remoteSend : settings.remoteReceive) = values[4].second;
}

ComPtr<IXMLDOMNode> SelectNode(IXMLDOMNode* document, const std::wstring& path) {
    ComPtr<IXMLDOMNode> node;
    com::Check(document->selectSingleNode(com::Bstr(path).Get(), &node), path);
    return node;
}

void AppendSetting(IXMLDOMDocument* document, const std::wstring& name, const std::wstring& value) {
    ComPtr<IXMLDOMElement> setting;
    com::Check(document->createElement(com::Bstr(L"SETTING").Get(), &setting));
    com::Check(setting->setAttribute(com::Bstr(L"KeyName").Get(), com::Variant(name).Get()), name);
    com::Check(setting->setAttribute(com::Bstr(L"KeyValue").Get(), com::Variant(value).Get()), name);
    ComPtr<IXMLDOMNode> appended;
    com::Check(SelectNode(document, L"//KEY")->appendChild(setting.Get(), &appended), name);
}

ComPtr<IXMLDOMDocument> DocumentOf(const SiteValues& values) {
    ComPtr<IXMLDOMDocument> document = com::NewXmlDocument();
    VARIANT_BOOL parsed = VARIANT_FALSE;
    com::Check(document->loadXML(com::Bstr(kEmptyDocument).Get(), &parsed));
    for (const auto& [name, value] : values)
        AppendSetting(document.Get(), name, value);
    return document;
}

SiteValues ReadDocument(IUnknown* document, SiteValues values) {
    ComPtr<IXMLDOMNode> root;
    com::Check(document->QueryInterface(IID_IXMLDOMNode, &root), L"administration document");
    for (auto& [name, value] : values)
        if (const auto node =
                SelectNode(root.Get(), std::wstring(L"//SETTING[@KeyName='") + name + L"']/@KeyValue"))
            value = com::Get<std::wstring>(&IXMLDOMNode::get_text, node.Get());
    return values;
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
    const SiteValues values = ValuesOf(settings);
    const ComPtr<IUnknown> document = session.EditSite(DocumentOf(values).Get());
    const SiteValues edited = document ? ReadDocument(document.Get(), values) : values;
    // Old values that are applied look like a cancelled dialog; neither leaves a plain password in the file.
    if (edited == values && !settings.fileTellsPassword) {
        Console::Line(L"The settings stay as they were.");
        return kAllDelivered;
    }
    Take(edited, settings);
    WriteFtpSettings(settings, file);
    Console::Line(L"The settings are in " + file);
    return kAllDelivered;
}
