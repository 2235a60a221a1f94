#include "sendrecv/FtpConnection.h"

#include "com/ErrorInfo.h"
#include "com/Values.h"
#include "common/Apartment.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "ftp/settings/FtpPassword.h"
#include "sendrecv/frmPromptFTP.h"
#include "services/Branding.h"
#include "services/Registry.h"

namespace {

constexpr LONG kIncompleteLogin = 143;
constexpr LONG kLoginFailed = 144;

void ShowBrandedText(LONG number) {
    ZNMsgBox(BrandedText(number), MB_ICONINFORMATION, ThisApartment().gk_sToolName);
}

/// An unattended host must learn from its log what nobody can be asked.
std::wstring WhyNotAsked(const FtpLogin& login) {
    const std::wstring text =
        L"The host allows no user interface, so nobody can be asked for the FTP login. ";
    if (!login.IsComplete()) return text + L"Set the FTP server, user and password.";
    return text + L"There is no connection as user " + login.user + L" to the FTP server " + login.server +
           L": check the server, the user and the password.";
}

/// Registry texts end at a NUL, which enciphered bytes may hold; digits never do.
std::wstring StoredPassword(const std::wstring& password) {
    std::wstring bytes = FtpPassword::EncipherBytes(password);
    return bytes.find(L'\0') == std::wstring::npos ? bytes : FtpPassword::Encipher(password);
}

void SaveLogin(const FtpLogin& login) {
    IZNRegistry* const registry = OpenTransportKey();
    const auto write = [&](const wchar_t* name, const std::wstring& value) {
        com::Check(registry->Write(com::Bstr(name).Get(), com::Variant(value).Get()), name);
    };
    write(L"FTPServer", login.server);
    write(L"FTPUser", login.user);
    write(L"FTPPassword", StoredPassword(login.password));
}

}  // namespace

bool FtpConnection::Open(bool supressMsg, const Progress& progress) try {
    if (m_session.IsConnected()) return true;
    LoginCancelled = false;
    if (login.IsComplete()) {
        if (m_session.DoConnection(login, progress)) return true;
        if (supressMsg) return false;
    }
    if (!UserInterfaceIsAllowed()) {
        ReportFailure(L"clsFTPSndRcv.cls.InternalOpenConnection", WhyNotAsked(login), progress);
        return false;
    }
    frmPromptFTP prompt;
    prompt.txtServer = login.server;
    prompt.txtUser = login.user;
    return PromptLogin(prompt, progress);
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.InternalOpenConnection", false);
}

/// The login changes only for one that works: a prompt that is cancelled, or fails, leaves the previous one.
bool FtpConnection::PromptLogin(frmPromptFTP& prompt, const Progress& progress) {
    while (prompt.Show()) {
        const FtpLogin entered{prompt.txtServer, prompt.txtUser, prompt.txtPassword};
        if (!entered.IsComplete()) {
            ShowBrandedText(kIncompleteLogin);
            continue;
        }
        if (ConnectAndSaveLogin(entered, prompt.chkSaveProperties, progress)) {
            login = entered;
            return true;
        }
    }
    LoginCancelled = true;
    return false;
}

/// A login that works but cannot be saved still connects.
bool FtpConnection::ConnectAndSaveLogin(const FtpLogin& entered, bool saveLogin,
                                        const Progress& progress) try {
    if (!m_session.DoConnection(entered, progress)) {
        ShowBrandedText(kLoginFailed);
        return false;
    }
    if (saveLogin) SaveLogin(entered);
    return true;
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.ConnectAndSaveLogin", m_session.IsConnected());
}
