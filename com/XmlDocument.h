// Documents of the system's XML parser.
#pragma once

#include <windows.h>
#include <msxml2.h>
#include <wrl/client.h>

namespace com {

/// An empty document of MSXML 6. Throws when that is not installed.
Microsoft::WRL::ComPtr<IXMLDOMDocument> NewXmlDocument();

}  // namespace com
