// Sends packet files from a local folder, with all its sub-folders, to a WebDAV server. A file is deleted
// here only after it has its name there.
#pragma once

#include <string>

#include "webdav/DavTransfer.h"

/// A packet is uploaded under a name of its own beside the remote folder, and takes its own name there in one
/// step when the server tells that it is whole: nobody sees a part of it.
class DavSender {
public:
    DavSender(const DavServer& server, const HostProgress& progress)
        : m_server(server), m_progress(progress) {}

    /// remote: is created unless there is nothing to send. What stays is reported. False where the server
    /// should not be asked for anything else now, as when it wants another login or does not answer.
    /// Throws what keeps the whole transfer from going on, and an HttpError when somebody wants an end.
    bool MoveFiles(const std::wstring& local, const std::wstring& remote) const;

private:
    class Transfer;

    const DavServer& m_server;
    const HostProgress& m_progress;
};
