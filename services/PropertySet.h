// Property sets as C++ values.
#pragma once

#include <wrl/client.h>

#include <string>
#include <utility>
#include <vector>

#include "com/Values.h"
#include "znSystem.h"

/// All names and values of a set, in its order. Throws a failure.
std::vector<std::pair<std::wstring, com::Variant>> AllProperties(IZNPropertySet* set);

/// A new set with these names and texts. Throws a failure.
Microsoft::WRL::ComPtr<IZNPropertySet>
NewPropertySet(const std::vector<std::pair<const wchar_t*, std::wstring>>& properties);

/// Sets a text. Throws a failure.
void SetProperty(IZNPropertySet* set, const std::wstring& name, const std::wstring& value);

/// A setting as a number, or the default when the set does not hold it. Reports and throws a failure to
/// read it; a value or a default that is taken and no number fails with DISP_E_TYPEMISMATCH.
LONG GetNumber(IZNPropertySet* set, const std::wstring& name, const std::wstring& missing);

/// Whether the setting "MOBILE" says that this is a field computer: anything but "FALSE" does.
bool IsMobile(IZNPropertySet* set);
