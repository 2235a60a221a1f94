// Property sets as C++ values.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "com/Text.h"
#include "znSystem.h"

/// All names and values of a set, in its order. Throws a failure.
std::vector<std::pair<std::wstring, com::Variant>> AllProperties(IZNPropertySet* set);

/// Sets a text. Throws a failure.
void SetProperty(IZNPropertySet* set, const std::wstring& name, const std::wstring& value);
