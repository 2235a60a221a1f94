// Documents of the system's XML parser.
#pragma once

#include <windows.h>
#include <msxml2.h>
#include <wrl/client.h>

#include <string>

#include "base/Error.h"

namespace xml {

/// An empty document of MSXML 6. Throws when that is not installed.
Microsoft::WRL::ComPtr<IXMLDOMDocument> NewXmlDocument(base::Where where = base::Where::current());

/// An element of the document that has no place in it yet. Throws a failure.
Microsoft::WRL::ComPtr<IXMLDOMElement> NewElement(IXMLDOMDocument* document, const std::wstring& name,
                                                  base::Where where = base::Where::current());
/// Throws a failure, also for characters that the parser would store but could not read back.
void SetAttribute(IXMLDOMElement* element, const std::wstring& name, const std::wstring& value,
                  base::Where where = base::Where::current());
/// Gives the element its place. Throws a failure.
void Append(IXMLDOMNode* parent, IXMLDOMElement* element, base::Where where = base::Where::current());

}  // namespace xml
