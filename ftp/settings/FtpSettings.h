// What the settings of an FTP site are called wherever they are stored. Portable.
#pragma once

#include <array>

#include "ftp/settings/FtpSite.h"

struct FtpSetting {
    FtpSiteMember member;
    const wchar_t* name;                ///< in the registry, in administration documents and for Init
    const wchar_t* configName;          ///< in the mobile configuration and for the folder locator
    const wchar_t* title;               ///< in messages
    int longest;                        ///< characters that WinINet takes
    const wchar_t* property = nullptr;  ///< in the property set; it has folders by direction, not by these
};

inline constexpr FtpSetting kFtpServer{&FtpSite::server, L"FTPServer", L"FTPServer",
                                       L"server",        255,          L"FTP_SERVER"};
inline constexpr FtpSetting kFtpUser{&FtpSite::user, L"FTPUser", L"FTPUser", L"user", 128, L"FTP_USER"};
inline constexpr FtpSetting kFtpPassword{&FtpSite::password, L"FTPPassword", L"FTPPassword", L"password", 128,
                                         L"FTP_PASSWORD"};
inline constexpr FtpSetting kFtpEnterpriseToField{&FtpSite::enterpriseToField, L"FTPEnterpriseToField",
                                                  L"FTPEnterpriseToField", L"enterprise-to-field folder",
                                                  259};
// Readers of either name match it as it is: they differ in the case of one letter.
inline constexpr FtpSetting kFtpFieldToEnterprise{&FtpSite::fieldToEnterprise, L"FTPFieldtoEnterprise",
                                                  L"FTPFieldToEnterprise", L"field-to-enterprise folder",
                                                  259};

/// What FtpSite::HasLogin asks for.
inline constexpr std::array kFtpLoginSettings = {kFtpServer, kFtpUser, kFtpPassword};

/// In the order of administration documents, of the dialog's boxes and of the checks.
inline constexpr std::array kFtpSettings = {kFtpServer, kFtpUser, kFtpPassword, kFtpEnterpriseToField,
                                            kFtpFieldToEnterprise};
