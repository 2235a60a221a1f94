// The administration document: settings of a sender/receiver as the registry values that they become.
#pragma once

#include <windows.h>
#include <msxml2.h>
#include <wrl/client.h>

#include <string>

/// Vocabulary of the document.
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

}  // namespace AdminXml

/// Appends an element to Parent, or to the document itself where Parent is null. The attribute is set when
/// its name and its value are not empty. Null when Name is empty or Document is null, and when the element
/// cannot be made, for example for characters that XML does not allow, which is reported.
Microsoft::WRL::ComPtr<IXMLDOMElement> GenerateChildElement(const std::wstring& Name,
                                                            IXMLDOMDocument* Document, IXMLDOMNode* Parent,
                                                            const std::wstring& AttributeName,
                                                            const std::wstring& AttributeValue);

/// Whether the settings can be used: none is empty or blank, and the two folders differ in more than the
/// blanks around them.
bool VerifyFTPSite(const std::wstring& Server, const std::wstring& User, const std::wstring& Password,
                   const std::wstring& EnterpriseToField, const std::wstring& FieldToEnterprise);

/// The document that holds the settings, each as it was given. Sides: mask of the sides to configure, which
/// are its two low bits; with neither of them the document holds no settings. Null when VerifyFTPSite refuses
/// the settings, and when the document cannot be made, which is reported.
Microsoft::WRL::ComPtr<IXMLDOMDocument> GenerateFTPXML(LONG Sides, const std::wstring& EnterpriseToField,
                                                       const std::wstring& FieldToEnterprise,
                                                       const std::wstring& Server, const std::wstring& User,
                                                       const std::wstring& Password);
