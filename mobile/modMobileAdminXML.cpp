#include "mobile/modMobileAdminXML.h"

#include <string_view>

#include "com/Error.h"
#include "com/Text.h"
#include "com/XmlDocument.h"
#include "common/modZNStartup.h"
#include "mobile/modverification.h"

using com::Bstr;
using com::Check;
using com::NewXmlDocument;
using Microsoft::WRL::ComPtr;

namespace {

/// Whether XML allows a character that is not one half of a pair.
bool IsXmlCharacter(wchar_t character) noexcept {
    if (character < L' ') return character == L'\t' || character == L'\n' || character == L'\r';
    return !IS_HIGH_SURROGATE(character) && !IS_LOW_SURROGATE(character) && character < 0xFFFE;
}

bool IsXmlText(std::wstring_view text) noexcept {
    while (!text.empty()) {
        const bool pair = text.size() > 1 && IS_SURROGATE_PAIR(text[0], text[1]);
        if (!pair && !IsXmlCharacter(text[0])) return false;
        text.remove_prefix(pair ? 2 : 1);
    }
    return true;
}

/// The parser itself knows best what an XML name is: it must read the name back from an element.
bool IsXmlName(const std::wstring& name) {
    VARIANT_BOOL parsed = VARIANT_FALSE;
    const auto probe = NewXmlDocument();
    Check(probe->loadXML(Bstr(L"<" + name + L"/>").Get(), &parsed));
    ComPtr<IXMLDOMElement> element;
    if (!parsed || probe->get_documentElement(&element) != S_OK) return false;
    Bstr read;
    Check(element->get_nodeName(read.Put()));
    return read.Text() == name;
}

void CheckName(const std::wstring& name) {
    if (!IsXmlName(name)) throw com::Error(E_INVALIDARG, L"\"" + name + L"\" is no XML name.");
}

/// Not every parser refuses a second root, which no parser reads back.
void CheckRootless(IXMLDOMDocument* document) {
    ComPtr<IXMLDOMElement> root;
    if (document->get_documentElement(&root) == S_OK)
        throw com::Error(E_INVALIDARG, L"The document has its outermost element already.");
}

/// The parser would store characters that it cannot read back.
void SetAttribute(IXMLDOMElement* element, const std::wstring& name, const std::wstring& value) {
    if (!IsXmlText(value))
        throw com::Error(E_INVALIDARG,
                         L"The value of " + name + L" holds characters that XML does not allow.");
    Check(element->setAttribute(Bstr(name).Get(), com::Variant(value).Get()), name);
}

ComPtr<IXMLDOMElement> NewElement(IXMLDOMDocument* document, const std::wstring& name) {
    ComPtr<IXMLDOMElement> element;
    Check(document->createElement(Bstr(name).Get(), &element), name);
    return element;
}

void Append(IXMLDOMNode* parent, IXMLDOMElement* element) {
    ComPtr<IXMLDOMNode> appended;
    Check(parent->appendChild(element, &appended));
}

/// An element with its key name, appended to its parent.
ComPtr<IXMLDOMElement> AppendKey(IXMLDOMDocument* document, IXMLDOMNode* parent, const std::wstring& name,
                                 const std::wstring& keyName) {
    auto element = NewElement(document, name);
    SetAttribute(element.Get(), AdminXml::kKeyName, keyName);
    Append(parent, element.Get());
    return element;
}

void AppendSetting(IXMLDOMDocument* document, IXMLDOMNode* parent, const std::wstring& name,
                   const std::wstring& value) {
    const auto setting = AppendKey(document, parent, AdminXml::kSetting, name);
    SetAttribute(setting.Get(), AdminXml::kKeyValue, value);
}

/// Everything around the settings; returns the innermost element.
ComPtr<IXMLDOMElement> AppendTransportKey(IXMLDOMDocument* document) {
    const auto root = NewElement(document, AdminXml::kRoot);
    Append(document, root.Get());
    const auto configuration =
        AppendKey(document, root.Get(), AdminXml::kConfiguration, AdminXml::kSenderReceiver);
    const auto hive = AppendKey(document, configuration.Get(), AdminXml::kHive, AdminXml::kLocalMachine);
    const auto baseKey = AppendKey(document, hive.Get(), AdminXml::kBaseKey, AdminXml::kMobile);
    return AppendKey(document, baseKey.Get(), AdminXml::kKey, AdminXml::kTransport);
}

}  // namespace

ComPtr<IXMLDOMElement> GenerateChildElement(const std::wstring& Name, IXMLDOMDocument* Document,
                                            IXMLDOMNode* Parent, const std::wstring& AttributeName,
                                            const std::wstring& AttributeValue) try {
    if (Name.empty() || !Document) return nullptr;
    CheckName(Name);
    if (!Parent) CheckRootless(Document);
    auto element = NewElement(Document, Name);
    if (!AttributeName.empty() && !AttributeValue.empty()) {
        CheckName(AttributeName);
        SetAttribute(element.Get(), AttributeName, AttributeValue);
    }
    Append(Parent ? Parent : Document, element.Get());
    return element;
} catch (...) {
    return StandardHandler(L"modMobileAdminXML.GenerateChildElement", ComPtr<IXMLDOMElement>());
}

bool VerifyFTPSite(const std::wstring& Server, const std::wstring& User, const std::wstring& Password,
                   const std::wstring& EnterpriseToField, const std::wstring& FieldToEnterprise) {
    return modverification::SettingsFault({Server, User, Password, EnterpriseToField, FieldToEnterprise}) ==
           0;
}

ComPtr<IXMLDOMDocument> GenerateFTPXML(LONG Sides, const std::wstring& EnterpriseToField,
                                       const std::wstring& FieldToEnterprise, const std::wstring& Server,
                                       const std::wstring& User, const std::wstring& Password) try {
    constexpr LONG kBothSides = 3;
    if (!VerifyFTPSite(Server, User, Password, EnterpriseToField, FieldToEnterprise)) return nullptr;
    auto document = NewXmlDocument();
    const auto key = AppendTransportKey(document.Get());
    if ((Sides & kBothSides) == 0) return document;
    AppendSetting(document.Get(), key.Get(), AdminXml::kFTPServer, Server);
    AppendSetting(document.Get(), key.Get(), AdminXml::kFTPUser, User);
    AppendSetting(document.Get(), key.Get(), AdminXml::kFTPPassword, Password);
    AppendSetting(document.Get(), key.Get(), AdminXml::kFTPEnterpriseToField, EnterpriseToField);
    AppendSetting(document.Get(), key.Get(), AdminXml::kFTPFieldToEnterprise, FieldToEnterprise);
    return document;
} catch (...) {
    return StandardHandler(L"modMobileAdminXML.GenerateFTPXML", ComPtr<IXMLDOMDocument>());
}
