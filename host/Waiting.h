// What waits in the folders of an installation.
#pragma once

#include "host/Session.h"
#include "host/Settings.h"

void PrintWaiting(Session& session, const Settings& settings);
