// An FTP session and its login, for which the user is asked where the host allows it.
#pragma once

#include "sendrecv/FtpSession.h"
#include "sendrecv/Progress.h"

class frmPromptFTP;

class FtpConnection {
public:
    FtpLogin login;
    bool LoginCancelled = false;

    FtpSession& Session() { return m_session; }

    /// Connects unless the session is connected. The user is asked for a login that is incomplete or
    /// does not work; without a user interface that is a report. supressMsg: a failed connection does not
    /// lead to the login prompt.
    bool Open(bool supressMsg, const Progress& progress);

private:
    bool PromptLogin(frmPromptFTP& prompt, const Progress& progress);
    bool ConnectAndSaveLogin(const FtpLogin& entered, bool saveLogin, const Progress& progress);

    FtpSession m_session;
};
