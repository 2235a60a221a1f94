// A new pair of installations: settings files for both sides and their folders.
#pragma once

#include <string>

struct Installation {
    std::wstring fieldSettings;
    std::wstring enterpriseSettings;
};

/// Creates folder\field.ini, folder\enterprise.ini and the folders that they name. Throws SettingsError
/// when one of the files exists, which then stays as it is.
Installation CreateInstallation(const std::wstring& folder);
