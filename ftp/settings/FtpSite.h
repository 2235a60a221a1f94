// The settings of an FTP site. Portable.
#pragma once

#include <string>

struct FtpSite {
    std::wstring server = {};
    std::wstring user = {};
    std::wstring password = {};  ///< plain, unless said otherwise
    std::wstring enterpriseToField = {};
    std::wstring fieldToEnterprise = {};

    bool HasLogin() const { return !server.empty() && !user.empty() && !password.empty(); }
    bool operator==(const FtpSite&) const = default;
};
using FtpSiteMember = std::wstring FtpSite::*;
