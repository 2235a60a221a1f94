// The command password: has Windows encipher the password of the server.
#include "base/Console.h"
#include "cipher/ProtectedText.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/PasswordPrompt.h"
#include "host/settings/SettingsFile.h"

namespace {

/// The password that the transport logs in with: to its server, or to the proxy before that.
const Setting& PasswordOf(const Settings& settings, bool proxy) {
    if (proxy && settings.transport != Transport::Https)
        throw SettingsError(
            {Complaint(settings, SettingOf<&Settings::transport>(), L"only https knows a login to a proxy")});
    if (proxy) return SettingOf<&Settings::httpsProxyPassword>();
    if (settings.transport == Transport::Https) return SettingOf<&Settings::httpsPassword>();
    if (settings.transport == Transport::Ftp) return SettingOf<&Settings::ftpPassword>();
    throw SettingsError({Complaint(settings, SettingOf<&Settings::transport>(),
                                   L"packets travel through a folder, which asks for no password")});
}

const wchar_t* WhoCanDecipher(ProtectedText::Readers readers) {
    if (readers == ProtectedText::Readers::Computer)
        return L"Every account of this computer can decipher it, and no other computer: limit who may read "
               L"the file.";
    return L"Programs of this account on this computer can decipher it, and nobody else. Does a service or a "
           L"task run "
           L"as another account, write it with --machine, or as that account.";
}

}  // namespace

int commands::Password(const Options& options) {
    const PasswordRequest& request = options.password;
    const Settings settings = ReadSettingsWithoutPasswords(options.AbsolutePath());
    const Setting& setting = PasswordOf(settings, request.ofProxy);
    const SecretText password =
        request.fromInput ? ReadPasswordLine() : AskForPassword(setting.Title() + L" of " + settings.file);
    const auto readers =
        request.forComputer ? ProtectedText::Readers::Computer : ProtectedText::Readers::Account;
    WritePassword(settings.file, setting, ProtectedText::Protect(password, readers));
    Console::Line(L"The password is in " + settings.file + L", enciphered by Windows.");
    Console::Line(WhoCanDecipher(readers));
    return kAllDelivered;
}
