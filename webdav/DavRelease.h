// Gives back what an installation has claimed that will not receive any more.
#pragma once

#include <string>

#include "services/HostProgress.h"
#include "services/ShownProcedure.h"
#include "webdav/DavServer.h"

/// Tells progress of each installation that holds packets of a remote folder. False when some could not be
/// seen, which is reported.
bool ShowClaims(const DavServer& server, const std::wstring& remote, const ShownProcedure& self,
                const HostProgress& progress);

/// Moves the packets that an installation holds back into the remote folder, where the next who receives
/// takes them. One that was sent anew meanwhile stays. False when something stays or could not be seen, which
/// is reported.
bool ReleaseClaims(const DavServer& server, const std::wstring& remote, const std::wstring& installation,
                   const ShownProcedure& self, const HostProgress& progress);
