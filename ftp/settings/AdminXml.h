// The administration document: settings of a sender/receiver as the registry values that they become.
#pragma once

#include <windows.h>
#include <msxml2.h>
#include <wrl/client.h>

#include "ftp/settings/FtpSite.h"

namespace AdminXml {

/// A document that holds the settings, the password as it is to be stored. settings: null for a document
/// without any. Throws a failure.
Microsoft::WRL::ComPtr<IXMLDOMDocument> NewDocument(const FtpSite* settings);

/// Stores the settings of a document, or of an element of one; one that it lacks stays as it is. Throws a
/// failure.
void ReadSettings(IUnknown* document, FtpSite& settings);

}  // namespace AdminXml
