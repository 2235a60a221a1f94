#include "mobile/modMobileAdminXML.h"

#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"
#include "common/Report.h"
#include "common/modZNStartup.h"
#include "ftp/settings/AdminXml.h"
#include "ftp/settings/XmlDocument.h"
#include "mobile/modverification.h"

using com::Bstr;
using com::Check;
using Microsoft::WRL::ComPtr;
using xml::NewXmlDocument;

namespace {

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
    if (!IsXmlName(name)) throw base::Error(E_INVALIDARG, L"\"" + name + L"\" is no XML name.");
}

/// Not every parser refuses a second root, which no parser reads back.
void CheckRootless(IXMLDOMDocument* document) {
    ComPtr<IXMLDOMElement> root;
    if (document->get_documentElement(&root) == S_OK)
        throw base::Error(E_INVALIDARG, L"The document has its outermost element already.");
}

}  // namespace

ComPtr<IXMLDOMElement> GenerateChildElement(const std::wstring& Name, IXMLDOMDocument* Document,
                                            IXMLDOMNode* Parent, const std::wstring& AttributeName,
                                            const std::wstring& AttributeValue) try {
    if (Name.empty() || !Document) return nullptr;
    CheckName(Name);
    if (!Parent) CheckRootless(Document);
    auto element = xml::NewElement(Document, Name);
    if (!AttributeName.empty() && !AttributeValue.empty()) {
        CheckName(AttributeName);
        xml::SetAttribute(element.Get(), AttributeName, AttributeValue);
    }
    xml::Append(Parent ? Parent : Document, element.Get());
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
    const FtpSite settings{Server, User, Password, EnterpriseToField, FieldToEnterprise};
    return AdminXml::NewDocument((Sides & kBothSides) != 0 ? &settings : nullptr);
} catch (...) {
    return StandardHandler(L"modMobileAdminXML.GenerateFTPXML", ComPtr<IXMLDOMDocument>());
}
