#include "mobile/AdminXml.h"

#include "com/Return.h"
#include "com/XmlDocument.h"

using Microsoft::WRL::ComPtr;

namespace AdminXml {

namespace {

/// An element with its key name, appended to its parent.
ComPtr<IXMLDOMElement> AppendKey(IXMLDOMDocument* document, IXMLDOMNode* parent, const std::wstring& name,
                                 const std::wstring& keyName) {
    auto element = com::NewElement(document, name);
    com::SetAttribute(element.Get(), kKeyName, keyName);
    com::Append(parent, element.Get());
    return element;
}

/// Everything around the settings; returns the innermost element.
ComPtr<IXMLDOMElement> AppendTransportKey(IXMLDOMDocument* document) {
    const auto root = com::NewElement(document, kRoot);
    com::Append(document, root.Get());
    const auto configuration = AppendKey(document, root.Get(), kConfiguration, kSenderReceiver);
    const auto hive = AppendKey(document, configuration.Get(), kHive, kLocalMachine);
    const auto baseKey = AppendKey(document, hive.Get(), kBaseKey, kMobile);
    return AppendKey(document, baseKey.Get(), kKey, kTransport);
}

void AppendSettings(IXMLDOMDocument* document, IXMLDOMNode* key, const FtpSite& settings) {
    const auto append = [&](const wchar_t* name, const std::wstring& value) {
        const auto setting = AppendKey(document, key, kSetting, name);
        com::SetAttribute(setting.Get(), kKeyValue, value);
    };
    append(kFTPServer, settings.server);
    append(kFTPUser, settings.user);
    append(kFTPPassword, settings.password);
    append(kFTPEnterpriseToField, settings.enterpriseToField);
    append(kFTPFieldToEnterprise, settings.fieldToEnterprise);
}

/// Matches an element with a key name.
std::wstring Keyed(const std::wstring& name, const std::wstring& keyName) {
    return name + L"[@" + kKeyName + L"='" + keyName + L"']";
}

}  // namespace

ComPtr<IXMLDOMDocument> NewDocument(const FtpSite* settings) {
    auto document = com::NewXmlDocument();
    const auto key = AppendTransportKey(document.Get());
    if (settings) AppendSettings(document.Get(), key.Get(), *settings);
    return document;
}

void ReadSetting(IXMLDOMNode* document, const wchar_t* name, std::wstring& value) {
    const std::wstring path = std::wstring(L"/") + kRoot + L"/" + Keyed(kConfiguration, kSenderReceiver) +
                              L"//" + Keyed(kKey, kTransport) + L"/" + Keyed(kSetting, name) + L"/@" +
                              kKeyValue;
    ComPtr<IXMLDOMNode> node;
    com::Check(document->selectSingleNode(com::Bstr(path).Get(), &node), path);
    if (node) value = com::Get<std::wstring>(&IXMLDOMNode::get_text, node.Get());
}

}  // namespace AdminXml
