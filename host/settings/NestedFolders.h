// Folders of packets that must lie apart: one inside another would send packets in a circle.
#pragma once

#include <string>
#include <vector>

#include "host/settings/SettingsError.h"

struct LocatedFolder {
    const Setting* setting;
    /// What stands for the folder, and for every one that it lies in, from its own on. Empty where unknown.
    std::vector<std::wstring> way;
};

/// Complaints about the folders that are or lie in another one; about the later setting where both are one.
/// how: said behind the name of the other one.
Problems NestedFolders(const Settings& settings, const std::vector<LocatedFolder>& folders,
                       const std::wstring& how = {});
