// The administration document of the FTP sender/receiver, from settings that are checked.
#pragma once

#include <windows.h>
#include <msxml2.h>
#include <wrl/client.h>

#include <string>

#include "ftp/settings/FtpSite.h"

namespace modMobileAdminXML {

/// Appends an element to Parent, or to the document itself where Parent is null. The attribute is set when
/// its name and its value are not empty. Null when Name is empty or Document is null, and when the element
/// cannot be made, for example for characters that XML does not allow, which is reported.
Microsoft::WRL::ComPtr<IXMLDOMElement> GenerateChildElement(const std::wstring& Name,
                                                            IXMLDOMDocument* Document, IXMLDOMNode* Parent,
                                                            const std::wstring& AttributeName,
                                                            const std::wstring& AttributeValue);

/// Whether the settings can be used: none is empty or blank, and the two folders differ in more than the
/// blanks around them.
bool VerifyFTPSite(const FtpSite& site);

/// The document that holds the settings, each as it was given. Sides: mask of the sides to configure, which
/// are its two low bits; with neither of them the document holds no settings. Null when VerifyFTPSite refuses
/// the settings, and when the document cannot be made, which is reported.
Microsoft::WRL::ComPtr<IXMLDOMDocument> GenerateFTPXML(LONG Sides, const FtpSite& site);

}  // namespace modMobileAdminXML
