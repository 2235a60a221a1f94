// The mobile configuration of an application, for the user.
#pragma once

#include "host/Settings.h"

/// Prints the values of both sides. Passwords are not shown. Throws base::Error.
void PrintMobileConfig(const Settings& settings);
