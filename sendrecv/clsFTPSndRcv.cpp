// See clsFTPSndRcv.h.
#include "sendrecv/clsFTPSndRcv.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "base/RollBack.h"
#include "base/Text.h"
#include "ftp/FtpReceiver.h"
#include "ftp/FtpSender.h"
#include "ftp/settings/FtpPassword.h"
#include "ftp/settings/FtpSettings.h"
#include "mobile/modverification.h"
#include "services/Branding.h"
#include "services/Options.h"
#include "services/Registry.h"
#include "services/ShownProcedure.h"

using com::Return;

namespace {

constexpr LONG kNameText = 130;

/// Whoever waits for packets must learn why a login that was saved is asked for again.
std::wstring Deciphered(const std::wstring& stored, const Procedure& self) {
    const auto password = FtpPassword::Decipher(stored);
    if (!password && !stored.empty())
        self.Report(
            L"The stored FTP password cannot be deciphered, so that it counts as missing. Save the login "
            L"anew in the login prompt or in the FTP properties.");
    return password.value_or(L"");
}

/// Whoever sends makes its folders in upper case. Not every server takes "\" for what it is here.
std::wstring RemoteFolder(const std::wstring& localFolder) {
    std::wstring folder = base::Upper(localFolder);
    std::ranges::replace(folder, L'\\', L'/');
    return folder;
}

}  // namespace

// --- Settings ---------------------------------------------------------------------------------------

void clsFTPSndRcv::TakeSetting(const std::wstring& name, const com::Variant& value) {
    SenderReceiver::TakeSetting(name, value);
    for (const FtpSetting& setting : kFtpLoginSettings)
        if (name == setting.name) m_session.site.*setting.member = value.Text();
}

void clsFTPSndRcv::ReadSettings(IZNPropertySet* settings) {
    // Encoders read from the key that is open when they are configured.
    OpenTransportKey();
    const bool enterprise = !m_bMobile;
    const FtpSetting& outgoing = enterprise ? kFtpEnterpriseToField : kFtpFieldToEnterprise;
    const FtpSetting& incoming = enterprise ? kFtpFieldToEnterprise : kFtpEnterpriseToField;
    m_session.site.server = m_folderLocator.FolderPath(enterprise, kFtpServer.configName);
    SenderReceiver::ReadSettings(settings);
    m_sRemoteSendFolder = FolderSetting(settings, L"REMOTE_SEND_FOLDER", enterprise, outgoing.configName);
    m_sRemoteReceiveFolder =
        FolderSetting(settings, L"REMOTE_RECEIVE_FOLDER", enterprise, incoming.configName);
}

void clsFTPSndRcv::WriteSettings(IZNPropertySet* settings) const {
    for (const FtpSetting& setting : kFtpLoginSettings)
        SetProperty(settings, setting.property, m_session.site.*setting.member);
    SenderReceiver::WriteSettings(settings);
    SetProperty(settings, L"REMOTE_RECEIVE_FOLDER", m_sRemoteReceiveFolder);
    SetProperty(settings, L"REMOTE_SEND_FOLDER", m_sRemoteSendFolder);
}

/// Once for each object: a value that is cleared later stays empty.
void clsFTPSndRcv::ProcessParameters() {
    const Procedure self(L"clsFTPSndRcv.cls.ProcessParameters");
    self.Guard([&] {
        if (std::exchange(m_bSettingsProcessed, true)) return;
        ReadMissingSettings(self);
    });
}

void clsFTPSndRcv::ReadMissingSettings(const Procedure& self) {
    IZNRegistry* const transport = OpenTransportKey();
    const auto login = [&](const FtpSetting& setting) {
        return OptionOrSetting(setting.name, m_folderLocator, setting.configName, !m_bMobile);
    };
    const auto folder = [&](const wchar_t* name) { return OptionOrSetting(name, transport); };
    if (m_sRemoteReceiveFolder.empty()) m_sRemoteReceiveFolder = folder(L"RemoteReceiveFolder");
    if (m_sRemoteSendFolder.empty()) m_sRemoteSendFolder = folder(L"RemoteSendFolder");
    // These fail without the application's name.
    FtpSite& site = m_session.site;
    if (site.server.empty()) site.server = login(kFtpServer);
    if (site.user.empty()) site.user = login(kFtpUser);
    if (site.password.empty()) site.password = Deciphered(login(kFtpPassword), self);
}

STDMETHODIMP clsFTPSndRcv::VerifyFTPSite(BSTR* Failure) {
    return Return(Failure, [&] { return WhyNotVerified(); });
}

std::wstring clsFTPSndRcv::WhyNotVerified() {
    ProcessParameters();
    FtpSite site = m_session.site;
    site.enterpriseToField = m_bMobile ? m_sRemoteReceiveFolder : m_sRemoteSendFolder;
    site.fieldToEnterprise = m_bMobile ? m_sRemoteSendFolder : m_sRemoteReceiveFolder;
    std::wstring failure;
    const auto keep = [&](const std::wstring& text, FtpSiteMember) { failure = text; };
    if (!modverification::VerifyFTPSite(site, true, keep, &m_sVerificationReport) && failure.empty())
        throw base::Error(E_FAIL, L"The FTP site could not be verified; the event log tells why.");
    return failure;
}

// --- Transfer ---------------------------------------------------------------------------------------

bool clsFTPSndRcv::InternalOpenConnection(const HostProgress& progress) {
    if (m_session.connection.IsConnected()) return true;
    ProcessParameters();
    return m_session.Open(SupressMsg, progress);
}

STDMETHODIMP clsFTPSndRcv::Connect(VARIANT_BOOL* Success) {
    return Return(Success, [&] {
        const Procedure self(L"clsFTPSndRcv.cls.IZNSenderReceiver_Connect");
        const HostProgress progress(nullptr);
        return self.Guard(false, [&] {
            return m_session.connection.IsConnected() || Connected(self, progress, [] { return true; });
        });
    });
}

STDMETHODIMP clsFTPSndRcv::Disconnect(VARIANT_BOOL* Success) {
    return Return(Success, [&] {
        Procedure(L"clsFTPSndRcv.cls.IZNSenderReceiver_Disconnect").Guard([&] {
            ProcessParameters();
            // The transfer that runs ends first.
            m_closing = IsWorking();
            if (!m_closing) m_session.connection.Close();
        });
        return true;
    });
}

template <class Call>
bool clsFTPSndRcv::Connected(const Procedure& self, const HostProgress& progress, Call&& call) {
    return Exclusively(self, [&] {
        const base::RollBack close([this] {
            if (std::exchange(m_closing, false)) m_session.connection.Close();
        });
        return InternalOpenConnection(progress) && call();
    });
}

bool clsFTPSndRcv::IZNSenderReceiver_Send(IUnknown* ProgressObject) {
    const Procedure self(L"clsFTPSndRcv.cls.IZNSenderReceiver_Send");
    return self.Guard(false, [&] {
        const HostProgress progress(ProgressObject);
        ProcessParameters();
        // The host may set other folders while its messages are processed.
        const std::wstring local = m_sLocalSendFolder;
        const std::wstring remote = m_sRemoteSendFolder;
        if (local.empty() || remote.empty())
            return ShownProcedure(self.Name(), progress).Fail(L"one or more of the Send folders are not set");
        progress.SetRange(0, 1);
        progress.StatusText(L"Sending files");
        const bool sent = Connected(self, progress, [&] {
            return FtpSender(m_session.connection, progress).MoveFiles(local, remote);
        });
        // A login that the user cancelled ends the cycle quietly.
        return (sent || m_session.LoginCancelled) && !progress.Cancelled();
    });
}

bool clsFTPSndRcv::IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) {
    const Procedure self(L"clsFTPSndRcv.cls.IZNSenderReceiver_Receive");
    return self.Guard(false, [&] {
        const HostProgress progress(ProgressObject);
        ProcessParameters();
        if (m_sLocalReceiveFolder.empty() || m_sRemoteReceiveFolder.empty())
            return ShownProcedure(self.Name(), progress)
                .Fail(L"one or more of the Receive folders is not set");
        progress.SetRange(0, 1);
        progress.StatusText(L"Receiving files");
        const std::wstring remote = m_sRemoteReceiveFolder + L"/" + RemoteFolder(FolderName);
        const std::wstring local = m_sLocalReceiveFolder + L"\\" + FolderName;
        const FtpReceiver receiver(m_session.connection, SupressMsg, progress);
        const bool received = receiver.MakeLocalFolder(local) &&
                              Connected(self, progress, [&] { return receiver.MoveFiles(remote, local); });
        if (!received && !m_session.LoginCancelled) return false;
        // Hosts rely on being asked here, too; what was received stays received.
        progress.Cancelled();
        return true;
    });
}

// --- Administration ---------------------------------------------------------------------------------

std::wstring clsFTPSndRcv::DisplayName() { return BrandedText(kNameText); }

STDMETHODIMP clsFTPSndRcv::Initialize(LONG Value, IUnknown* Context, IUnknown** Result) {
    return Return(Result, [&] { return m_administration.Initialize(Value, Context); });
}

STDMETHODIMP clsFTPSndRcv::Execute(LONG Value, IUnknown** Result) {
    return Return(Result, [&] { return m_administration.Execute(Value); });
}
