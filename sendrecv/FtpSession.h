// The FTP sender/receiver's session: a connection, and its login, for which the user is asked where the host
// allows it.
#pragma once

#include "ftp/FtpConnection.h"
#include "services/HostProgress.h"

class frmPromptFTP;

class FtpSession {
public:
    FtpSite site;  ///< the login; its folders are not used
    bool LoginCancelled = false;
    FtpConnection connection;

    /// Connects. The user is asked for a login that is incomplete or does not work; without a user interface
    /// that is a report. supressMsg: a failed connection does not lead to the login prompt.
    bool Open(bool supressMsg, const HostProgress& progress);

private:
    bool DoConnection(const FtpSite& login, const HostProgress& progress);
    bool PromptLogin(frmPromptFTP& prompt, const HostProgress& progress);
    bool ConnectAndSaveLogin(const FtpSite& entered, bool saveLogin, const HostProgress& progress);
};
