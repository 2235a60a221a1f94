// The framework's registry object as C++ values.
#pragma once

#include <string>

#include "znSystem.h"

/// Selects a key below HKEY_LOCAL_MACHINE for the reads and writes that follow. Throws a failure.
void OpenMachineKey(IZNRegistry* registry, ZNRegistryProduct product, const std::wstring& subKey);

/// The apartment's registry object, on the machine's key of the transport settings. Throws a failure.
IZNRegistry* OpenTransportKey();

/// A value of the key that is open, or the default when it is missing. Throws a failure; a value that is
/// no number fails with DISP_E_TYPEMISMATCH. The framework is asked with a 16-bit number as the default.
std::wstring ReadText(IZNRegistry* registry, const std::wstring& name, const std::wstring& missing = {});
LONG ReadNumber(IZNRegistry* registry, const std::wstring& name, SHORT missing);
/// The same, before it is known whether it is a number.
std::wstring ReadNumberAsText(IZNRegistry* registry, const std::wstring& name, SHORT missing);
