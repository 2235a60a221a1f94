// See modMobileAdminXML.h.
#include "mobile/modMobileAdminXML.h"

#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"
#include "common/Report.h"
#include "ftp/settings/AdminXml.h"
#include "ftp/settings/XmlDocument.h"
#include "mobile/modverification.h"

using com::Bstr;
using com::Check;
using Microsoft::WRL::ComPtr;

namespace modMobileAdminXML {

namespace {

/// The parser itself knows best what an XML name is: it must read the name back from an element.
bool IsXmlName(const std::wstring& name) {
    VARIANT_BOOL parsed = VARIANT_FALSE;
    const auto probe = xml::NewXmlDocument();
    Check(probe->loadXML(Bstr(L"<" + name + L"/>").Get(), &parsed));
    ComPtr<IXMLDOMElement> element;
    if (!parsed || probe->get_documentElement(&element) != S_OK) return false;
    Bstr read;
    Check(element->get_nodeName(read.Put()));
    return read.Text() == name;
}

void CheckName(const std::wstring& name, base::Where where = base::Where::current()) {
    if (!IsXmlName(name)) throw base::Error(E_INVALIDARG, L"\"" + name + L"\" is no XML name.", where);
}

/// Not every parser refuses a second root, which no parser reads back.
void CheckRootless(IXMLDOMDocument* document, base::Where where = base::Where::current()) {
    ComPtr<IXMLDOMElement> root;
    if (document->get_documentElement(&root) == S_OK)
        throw base::Error(E_INVALIDARG, L"The document has its outermost element already.", where);
}

}  // namespace

ComPtr<IXMLDOMElement> GenerateChildElement(const std::wstring& Name, IXMLDOMDocument* Document,
                                            IXMLDOMNode* Parent, const std::wstring& AttributeName,
                                            const std::wstring& AttributeValue) {
    if (Name.empty() || !Document) return nullptr;
    const Procedure self(L"modMobileAdminXML.GenerateChildElement");
    return self.Guard(ComPtr<IXMLDOMElement>(), [&] {
        CheckName(Name);
        if (!Parent) CheckRootless(Document);
        auto element = xml::NewElement(Document, Name);
        if (!AttributeName.empty() && !AttributeValue.empty()) {
            CheckName(AttributeName);
            xml::SetAttribute(element.Get(), AttributeName, AttributeValue);
        }
        xml::Append(Parent ? Parent : Document, element.Get());
        return element;
    });
}

bool VerifyFTPSite(const FtpSite& site) { return modverification::SettingsFault(site) == 0; }

ComPtr<IXMLDOMDocument> GenerateFTPXML(LONG Sides, const FtpSite& site) {
    constexpr LONG kBothSides = 3;
    if (!VerifyFTPSite(site)) return nullptr;
    return Procedure(L"modMobileAdminXML.GenerateFTPXML").Guard(ComPtr<IXMLDOMDocument>(), [&] {
        return AdminXml::NewDocument((Sides & kBothSides) != 0 ? &site : nullptr);
    });
}

}  // namespace modMobileAdminXML
