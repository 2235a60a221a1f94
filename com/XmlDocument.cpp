#include "com/XmlDocument.h"

#include "com/Error.h"

namespace com {

namespace {

/// DOMDocument60, which the compiler's headers do not know.
constexpr CLSID kDomDocument60 = {
    0x88d96a05, 0xf192, 0x11d4, {0xa6, 0x5f, 0x00, 0x40, 0x96, 0x32, 0x51, 0xe5}};

}  // namespace

Microsoft::WRL::ComPtr<IXMLDOMDocument> NewXmlDocument() {
    Microsoft::WRL::ComPtr<IXMLDOMDocument> document;
    // By hand: the compiler's header ties no identifier to the interface.
    Check(CoCreateInstance(kDomDocument60, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                           reinterpret_cast<void**>(document.GetAddressOf())),
          L"MSXML 6, the XML parser");
    return document;
}

}  // namespace com
