// Shows the transport at work: two installations exchange packets, and every file is compared.
#pragma once

#include <string>

/// folder: must not exist; empty for a new one for temporary files. Returns the exit code.
int RunDemo(const std::wstring& folder, bool keep);
