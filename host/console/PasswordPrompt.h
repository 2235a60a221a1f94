// A password from the user or from a script. It is shown nowhere. Both throw SettingsError where there is
// none.
#pragma once

#include <string>

#include "cipher/Secret.h"

/// Typed into the console, twice. what: is asked for.
SecretText AskForPassword(const std::wstring& what);
/// The first line of the standard input, in UTF-8.
SecretText ReadPasswordLine();
