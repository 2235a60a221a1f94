// The administration document: settings of a sender/receiver as the registry values that they become.
#pragma once

#include <windows.h>
#include <msxml2.h>
#include <wrl/client.h>

#include <string>

#include "mobile/FtpSite.h"

namespace AdminXml {

// Elements, from the outermost to the innermost.
inline constexpr auto kRoot = L"MOBILECONFIGURATIONROOT";
inline constexpr auto kConfiguration = L"MOBILECONFIGURATION";
inline constexpr auto kHive = L"HKEY";
inline constexpr auto kBaseKey = L"BASEKEY";
inline constexpr auto kKey = L"KEY";
inline constexpr auto kSetting = L"SETTING";

// Attributes.
inline constexpr auto kKeyName = L"KeyName";
inline constexpr auto kKeyValue = L"KeyValue";

// Key names of configurations; the library writes the first one only.
inline constexpr auto kSenderReceiver = L"SENDERRECEIVER";
inline constexpr auto kEncoder = L"ENCODER";
inline constexpr auto kConfigFileVersion = L"CONFIG_FILE_VERSION";

// Key names of the registry path.
inline constexpr auto kLocalMachine = L"ZN_LOCAL_MACHINE";
inline constexpr auto kMobile = L"znMobile";
inline constexpr auto kTransport = L"Transport";

// Key names of the settings. Readers match the last one as it is, which differs from the registry value's
// name in one letter.
inline constexpr auto kFTPServer = L"FTPServer";
inline constexpr auto kFTPUser = L"FTPUser";
inline constexpr auto kFTPPassword = L"FTPPassword";
inline constexpr auto kFTPEnterpriseToField = L"FTPEnterpriseToField";
inline constexpr auto kFTPFieldToEnterprise = L"FTPFieldtoEnterprise";

/// A document that holds the settings, the password as it is to be stored. settings: null for a document
/// without any. Throws a failure.
Microsoft::WRL::ComPtr<IXMLDOMDocument> NewDocument(const FtpSite* settings);

/// Stores the value of a setting; one that the document lacks stays as it is. Throws a failure.
void ReadSetting(IXMLDOMNode* document, const wchar_t* name, std::wstring& value);

}  // namespace AdminXml
