// See FtpSession.h.
#include "sendrecv/FtpSession.h"

#include <utility>
#include <vector>

#include "base/RollBack.h"
#include "base/SystemError.h"
#include "base/Undo.h"
#include "com/ErrorInfo.h"
#include "com/Values.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "ftp/settings/FtpPassword.h"
#include "ftp/settings/FtpSettings.h"
#include "sendrecv/frmPromptFTP.h"
#include "services/Branding.h"
#include "services/Registry.h"
#include "services/ShownProcedure.h"

namespace {

constexpr LONG kIncompleteLogin = 143;
constexpr LONG kLoginFailed = 144;

void ShowBrandedText(LONG number) { ZNMsgBox(BrandedText(number), MB_ICONINFORMATION, ToolName()); }

/// What is known about a failed connection; empty where the failure goes unreported.
std::wstring ConnectFailure(DWORD error, const FtpSite& login) {
    const std::wstring text = L"Could not connect to the FTP server: ";
    switch (error) {
    case ERROR_SUCCESS:
        return Lines(text + ErrorText(error), L"Server name: " + login.server, L"User name: " + login.user);
    case ERROR_INTERNET_NAME_NOT_RESOLVED:
        return text + L"Check server name";
    case ERROR_INTERNET_INCORRECT_PASSWORD:
        return text + L"Check user or password";
    default:
        return {};
    }
}

/// An unattended host must learn from its log what nobody can be asked.
std::wstring WhyNotAsked(const FtpSite& login) {
    const std::wstring text =
        L"The host allows no user interface, so nobody can be asked for the FTP login. ";
    if (!login.HasLogin()) return text + L"Set the FTP server, user and password.";
    return text + L"There is no connection as user " + login.user + L" to the FTP server " + login.server +
           L": check the server, the user and the password.";
}

/// Registry texts end at a NUL, which enciphered bytes may hold; digits never do.
std::wstring StoredPassword(const std::wstring& password) {
    std::wstring bytes = FtpPassword::EncipherBytes(password);
    return bytes.find(L'\0') == std::wstring::npos ? bytes : FtpPassword::Encipher(password);
}

void Write(IZNRegistry* registry, const wchar_t* name, const std::wstring& value) {
    com::Check(registry->Write(com::Bstr(name).Get(), com::Variant(value).Get()), name);
}

/// In whole or not: the password of one server is not for another. There is none while the values are
/// written, so that a login which remains in parts is asked for.
void SaveLogin(FtpSite login) {
    login.password = StoredPassword(login.password);
    IZNRegistry* const registry = OpenTransportKey();
    std::vector<std::pair<const wchar_t*, std::wstring>> before;  // the last first
    const auto replace = [&](const FtpSetting& setting, const std::wstring& value) {
        std::wstring previous = ReadText(registry, setting.name);
        Write(registry, setting.name, value);
        before.insert(before.begin(), {setting.name, std::move(previous)});
    };
    const auto write = [&] {
        replace(kFtpServer, L"");
        for (const FtpSetting& setting : {kFtpUser, kFtpPassword, kFtpServer})
            replace(setting, login.*setting.member);
    };
    const auto restore = [&] {
        for (const auto& [name, value] : before)
            Write(registry, name, value);
    };
    base::DoOrUndo(write, restore, L"The saved login has no server any more.");
}

/// Who asked for a login to be saved must not wonder later why it is asked for again.
void SaveOrTell(const FtpSite& login, const Procedure& self) try { SaveLogin(login); } catch (...) {
    const std::wstring reason = base::CurrentFailure().description;
    self.ReportCurrentError();
    ZNMsgBox(Lines(L"The login works, but could not be saved. You will be asked for it again.", reason),
             MB_ICONWARNING, ToolName());
}

}  // namespace

bool FtpSession::Open(bool supressMsg, const HostProgress& progress) {
    const ShownProcedure self(L"clsFTPSndRcv.cls.InternalOpenConnection", progress);
    return self.Guard(false, [&] {
        LoginCancelled = false;
        if (site.HasLogin()) {
            if (DoConnection(site, progress)) return true;
            if (supressMsg) return false;
        }
        if (!UserInterfaceIsAllowed()) return self.Fail(WhyNotAsked(site));
        frmPromptFTP prompt;
        prompt.txtServer = site.server;
        prompt.txtUser = site.user;
        return PromptLogin(prompt, progress);
    });
}

/// A connection that fails leaves everything closed.
bool FtpSession::DoConnection(const FtpSite& login, const HostProgress& progress) {
    const ShownProcedure self(L"clsFTPSndRcv.cls.DoConnection", progress);
    return self.Guard(false, [&] {
        if (!connection.OpenSession()) {
            const DWORD error = GetLastError();
            return self.Fail(L"Could not Initialize Internet connection: " + ErrorText(error));
        }
        base::RollBack closing([&] { connection.Close(); });
        if (!connection.Connect(login)) {
            const std::wstring failure = ConnectFailure(GetLastError(), login);
            return !failure.empty() && self.Fail(failure);
        }
        closing.Dismiss();
        return true;
    });
}

/// The login changes only for one that works: a prompt that is cancelled, or fails, leaves the previous one.
bool FtpSession::PromptLogin(frmPromptFTP& prompt, const HostProgress& progress) {
    while (prompt.Show()) {
        const FtpSite entered{
            .server = prompt.txtServer, .user = prompt.txtUser, .password = prompt.txtPassword};
        if (!entered.HasLogin()) {
            ShowBrandedText(kIncompleteLogin);
            continue;
        }
        if (ConnectAndSaveLogin(entered, prompt.chkSaveProperties, progress)) {
            site = entered;
            return true;
        }
    }
    LoginCancelled = true;
    return false;
}

/// A login that works but cannot be saved still connects.
bool FtpSession::ConnectAndSaveLogin(const FtpSite& entered, bool saveLogin, const HostProgress& progress) {
    const Procedure self(L"clsFTPSndRcv.cls.ConnectAndSaveLogin");
    self.Guard([&] {
        const bool connected = [&] {
            const WaitCursor busy;
            return DoConnection(entered, progress);
        }();
        if (!connected)
            ShowBrandedText(kLoginFailed);
        else if (saveLogin)
            SaveOrTell(entered, self);
    });
    return connection.IsConnected();
}
