// The reference files that received differences are decoded against.
#pragma once

#include <string>

#include "host/settings/Settings.h"

/// The path at which a received file's reference is missing. Empty where it is there, or the file is no
/// difference, or the registry names the folder of the references.
std::wstring MissingReference(const std::wstring& fileName, const Settings& settings);
