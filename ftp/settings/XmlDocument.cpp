// See XmlDocument.h.
#include "ftp/settings/XmlDocument.h"

#include <string_view>

#include "base/Error.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"

using Microsoft::WRL::ComPtr;

namespace xml {

namespace {

/// DOMDocument60, which the compiler's headers do not know.
constexpr CLSID kDomDocument60 = {
    0x88d96a05, 0xf192, 0x11d4, {0xa6, 0x5f, 0x00, 0x40, 0x96, 0x32, 0x51, 0xe5}};

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

}  // namespace

ComPtr<IXMLDOMDocument> NewXmlDocument(base::Where where) {
    ComPtr<IXMLDOMDocument> document;
    // By hand: the compiler's header ties no identifier to the interface.
    com::Check(CoCreateInstance(kDomDocument60, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                                reinterpret_cast<void**>(document.GetAddressOf())),
               L"MSXML 6, the XML parser", where);
    return document;
}

ComPtr<IXMLDOMElement> NewElement(IXMLDOMDocument* document, const std::wstring& name, base::Where where) {
    ComPtr<IXMLDOMElement> element;
    com::Check(document->createElement(com::Bstr(name).Get(), &element), name, where);
    return element;
}

void SetAttribute(IXMLDOMElement* element, const std::wstring& name, const std::wstring& value,
                  base::Where where) {
    if (!IsXmlText(value))
        throw base::Error(E_INVALIDARG,
                          L"The value of " + name + L" holds characters that XML does not allow.", where);
    com::Check(element->setAttribute(com::Bstr(name).Get(), com::Variant(value).Get()), name, where);
}

void Append(IXMLDOMNode* parent, IXMLDOMElement* element, base::Where where) {
    ComPtr<IXMLDOMNode> appended;
    com::Check(parent->appendChild(element, &appended), {}, where);
}

}  // namespace xml
