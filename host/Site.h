// The FTP site of an installation, from the command line. Both tell the user and return the exit code.
#pragma once

#include <string>

#include "host/Session.h"

/// Tests the site.
int VerifySite(Session& session);
/// Edits its settings in the dialog of the sender/receiver and writes what was applied into the file.
int EditSite(Session& session, Settings settings, const std::wstring& file);
