// Settings that an option of the hosting process's command line overrides.
#pragma once

#include <string>

#include "services/FolderLocator.h"
#include "znSystem.h"

/// A command-line option of the host wins over the stored setting of the same name. Throws a failure.
std::wstring OptionOrSetting(const std::wstring& Name, IZNRegistry* Store);
/// Form for login values: the setting is asked of the side opposite to Flag. Without an option, throws before
/// Store is open.
std::wstring OptionOrSetting(const std::wstring& Name, const FolderLocator& Store, const std::wstring& Key,
                             bool Flag);
