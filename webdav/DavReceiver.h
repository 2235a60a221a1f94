// Receives packet files from a WebDAV server into a local folder, with all remote sub-folders. A file is
// deleted on the server only after it has arrived here.
#pragma once

#include <string>

#include "webdav/DavTransfer.h"

/// A packet is claimed first, by moving it where nobody else looks: then it is nobody else's and does not
/// change, and a newer one that comes meanwhile is not deleted unread. A claim that was not finished is taken
/// up by the next transfer into the same local folder.
class DavReceiver {
public:
    DavReceiver(const DavServer& server, const HostProgress& progress)
        : m_server(server), m_progress(progress) {}

    /// A remote folder that is missing holds nothing to receive. What stays is reported. False where more
    /// cannot be received now: somebody wants an end, or the server is gone. Throws what keeps the whole
    /// transfer from going on, and an HttpError when somebody wants an end.
    /// subFolder: the one below both that is received, with "/"; empty for all.
    bool MoveFiles(const std::wstring& remote, const std::wstring& subFolder,
                   const std::wstring& local) const;

private:
    class Transfer;

    const DavServer& m_server;
    const HostProgress& m_progress;
};
