// See AdminXml.h.
#include "ftp/settings/AdminXml.h"

#include <string>

#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"
#include "ftp/settings/FtpSettings.h"
#include "ftp/settings/XmlDocument.h"

using Microsoft::WRL::ComPtr;

namespace AdminXml {

namespace {

// Elements, from the outermost to the innermost.
constexpr auto kRoot = L"MOBILECONFIGURATIONROOT";
constexpr auto kConfiguration = L"MOBILECONFIGURATION";
constexpr auto kHive = L"HKEY";
constexpr auto kBaseKey = L"BASEKEY";
constexpr auto kKey = L"KEY";
constexpr auto kSetting = L"SETTING";

// Attributes.
constexpr auto kKeyName = L"KeyName";
constexpr auto kKeyValue = L"KeyValue";

// Key names of the configuration and of the registry path.
constexpr auto kSenderReceiver = L"SENDERRECEIVER";
constexpr auto kLocalMachine = L"ZN_LOCAL_MACHINE";
constexpr auto kMobile = L"znMobile";
constexpr auto kTransport = L"Transport";

/// An element with its key name, appended to its parent.
ComPtr<IXMLDOMElement> AppendKey(IXMLDOMDocument* document, IXMLDOMNode* parent, const std::wstring& name,
                                 const std::wstring& keyName) {
    auto element = xml::NewElement(document, name);
    xml::SetAttribute(element.Get(), kKeyName, keyName);
    xml::Append(parent, element.Get());
    return element;
}

/// Everything around the settings; returns the innermost element.
ComPtr<IXMLDOMElement> AppendTransportKey(IXMLDOMDocument* document) {
    const auto root = xml::NewElement(document, kRoot);
    xml::Append(document, root.Get());
    const auto configuration = AppendKey(document, root.Get(), kConfiguration, kSenderReceiver);
    const auto hive = AppendKey(document, configuration.Get(), kHive, kLocalMachine);
    const auto baseKey = AppendKey(document, hive.Get(), kBaseKey, kMobile);
    return AppendKey(document, baseKey.Get(), kKey, kTransport);
}

void AppendSettings(IXMLDOMDocument* document, IXMLDOMNode* key, const FtpSite& settings) {
    for (const FtpSetting& setting : kFtpSettings) {
        const auto element = AppendKey(document, key, kSetting, setting.name);
        xml::SetAttribute(element.Get(), kKeyValue, settings.*setting.member);
    }
}

/// Matches an element with a key name.
std::wstring Keyed(const std::wstring& name, const std::wstring& keyName) {
    return name + L"[@" + kKeyName + L"='" + keyName + L"']";
}

}  // namespace

ComPtr<IXMLDOMDocument> NewDocument(const FtpSite* settings) {
    auto document = xml::NewXmlDocument();
    const auto key = AppendTransportKey(document.Get());
    if (settings) AppendSettings(document.Get(), key.Get(), *settings);
    return document;
}

void ReadSettings(IUnknown* document, FtpSite& settings) {
    ComPtr<IXMLDOMNode> root;
    com::Check(document->QueryInterface(IID_IXMLDOMNode, &root), L"administration document");
    const std::wstring key = std::wstring(L"/") + kRoot + L"/" + Keyed(kConfiguration, kSenderReceiver) +
                             L"//" + Keyed(kKey, kTransport) + L"/";
    for (const FtpSetting& setting : kFtpSettings) {
        const std::wstring path = key + Keyed(kSetting, setting.name) + L"/@" + kKeyValue;
        ComPtr<IXMLDOMNode> node;
        com::Check(root->selectSingleNode(com::Bstr(path).Get(), &node), path);
        if (node)
            settings.*setting.member = com::Get<com::Variant>(&IXMLDOMNode::get_nodeValue, node.Get()).Text();
    }
}

}  // namespace AdminXml
