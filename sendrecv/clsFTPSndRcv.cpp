#include "sendrecv/clsFTPSndRcv.h"

#include "base/Error.h"
#include "base/Text.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/Framework.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "ftp/settings/FtpPassword.h"
#include "mobile/modverification.h"
#include "sendrecv/FtpTransfer.h"
#include "services/Branding.h"
#include "services/Options.h"
#include "services/Registry.h"

using com::Call;
using com::Return;
using Microsoft::WRL::ComPtr;

namespace {

constexpr LONG kNameText = 130;

}  // namespace

// --- Settings ---------------------------------------------------------------------------------------

clsFTPSndRcv::clsFTPSndRcv() : SenderReceiver(L"clsFTPSndRcv") {}

void clsFTPSndRcv::TakeSetting(const std::wstring& name, const com::Variant& value) {
    SenderReceiver::TakeSetting(name, value);
    if (name == L"FTPServer") m_connection.login.server = value.Text();
    if (name == L"FTPUser") m_connection.login.user = value.Text();
    if (name == L"FTPPassword") m_connection.login.password = value.Text();
}

void clsFTPSndRcv::IZNSenderReceiver2_PropSet(IZNPropertySet* Settings) try {
    m_bMobile = IsMobile(Settings);
    const bool enterprise = !m_bMobile;
    const auto folder = [&](const wchar_t* name, const wchar_t* kind) {
        return GetProperty(Settings, name, m_folderLocator.FolderPath(enterprise, kind));
    };
    const wchar_t* const outgoing = enterprise ? L"FTPEnterpriseToField" : L"FTPFieldToEnterprise";
    const wchar_t* const incoming = enterprise ? L"FTPFieldToEnterprise" : L"FTPEnterpriseToField";
    m_connection.login.server = m_folderLocator.FolderPath(enterprise, L"FTPServer");
    m_sLocalSendFolder = folder(L"LOCAL_SEND_FOLDER", L"Outgoing");
    m_sLocalReceiveFolder = folder(L"LOCAL_RECEIVE_FOLDER", L"Incoming");
    m_sRemoteSendFolder = folder(L"REMOTE_SEND_FOLDER", outgoing);
    m_sRemoteReceiveFolder = folder(L"REMOTE_RECEIVE_FOLDER", incoming);
} catch (...) {
    ReportCurrentError(L"clsFTPSndRcv.cls.IZNSenderReceiver2_PropSet");
}

ComPtr<IZNPropertySet> clsFTPSndRcv::IZNSenderReceiver2_PropSet() try {
    auto properties = CreateFrameworkObject<ZNPropertySet, IZNPropertySet>();
    SetProperty(properties.Get(), L"FTP_SERVER", m_connection.login.server);
    SetProperty(properties.Get(), L"FTP_USER", m_connection.login.user);
    SetProperty(properties.Get(), L"FTP_PASSWORD", m_connection.login.password);
    SetProperty(properties.Get(), L"MOBILE", m_bMobile ? L"TRUE" : L"FALSE");
    SetProperty(properties.Get(), L"LOCAL_SEND_FOLDER", m_sLocalSendFolder);
    SetProperty(properties.Get(), L"LOCAL_RECEIVE_FOLDER", m_sLocalReceiveFolder);
    SetProperty(properties.Get(), L"REMOTE_RECEIVE_FOLDER", m_sRemoteReceiveFolder);
    SetProperty(properties.Get(), L"REMOTE_SEND_FOLDER", m_sRemoteSendFolder);
    return properties;
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.IZNSenderReceiver2_PropSet", ComPtr<IZNPropertySet>());
}

/// Once for each object: a value that is cleared later stays empty.
void clsFTPSndRcv::ProcessParameters() try {
    if (m_bSettingsProcessed) return;
    m_bSettingsProcessed = true;
    ReadMissingSettings();
} catch (...) {
    ReportCurrentError(L"clsFTPSndRcv.cls.ProcessParameters");
}

void clsFTPSndRcv::ReadMissingSettings() {
    const auto login = [&](const wchar_t* name) {
        return OptionOrSetting(name, m_folderLocator, name, !m_bMobile);
    };
    const auto folder = [](const wchar_t* name) { return OptionOrSetting(name, OpenTransportKey()); };
    FtpLogin& values = m_connection.login;
    if (values.server.empty()) values.server = login(L"FTPServer");
    if (values.user.empty()) values.user = login(L"FTPUser");
    if (values.password.empty()) values.password = FtpPassword::Decipher(login(L"FTPPassword"));
    if (m_sRemoteReceiveFolder.empty()) m_sRemoteReceiveFolder = folder(L"RemoteReceiveFolder");
    if (m_sRemoteSendFolder.empty()) m_sRemoteSendFolder = folder(L"RemoteSendFolder");
}

std::wstring clsFTPSndRcv::VerifyFTPSite() {
    ProcessParameters();
    const FtpLogin& login = m_connection.login;
    const FtpSite site{login.server, login.user, login.password,
                       m_bMobile ? m_sRemoteReceiveFolder : m_sRemoteSendFolder,
                       m_bMobile ? m_sRemoteSendFolder : m_sRemoteReceiveFolder};
    std::wstring failure;
    if (!modverification::CheckFTPSite(site, true, [&](const std::wstring& text, LONG) { failure = text; }) &&
        failure.empty())
        throw base::Error(E_FAIL, L"The FTP site could not be verified; the event log tells why.");
    return failure;
}

// --- Transfer ---------------------------------------------------------------------------------------

bool clsFTPSndRcv::InternalOpenConnection(const Progress& progress) {
    if (m_connection.Session().IsConnected()) return true;
    ProcessParameters();
    return m_connection.Open(SupressMsg, progress);
}

bool clsFTPSndRcv::IZNSenderReceiver_Connect() try {
    return InternalOpenConnection(Progress(nullptr));
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.IZNSenderReceiver_Connect", false);
}

bool clsFTPSndRcv::IZNSenderReceiver_Disconnect() try {
    ProcessParameters();
    m_connection.Session().CloseConnection();
    return true;
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.IZNSenderReceiver_Disconnect", true);
}

bool clsFTPSndRcv::MoveFiles(const std::wstring& from, const std::wstring& to, bool receiving,
                             const Progress& progress) {
    FtpTransfer transfer(
        m_connection.Session(), [&] { return InternalOpenConnection(progress); }, SupressMsg, progress);
    // A login that the user cancelled ends the cycle quietly.
    return transfer.MoveFiles(from, to, receiving) || m_connection.LoginCancelled;
}

bool clsFTPSndRcv::IZNSenderReceiver_Send(IUnknown* ProgressObject) try {
    const Progress progress(ProgressObject);
    ProcessParameters();
    if (m_sLocalSendFolder.empty() || m_sRemoteSendFolder.empty()) {
        ReportFailure(L"clsFTPSndRcv.cls.IZNSenderReceiver_Send",
                      L"one or more of the Send folders are not set", progress);
        return false;
    }
    progress.SetRange(0, 1);
    progress.StatusText(L"Sending files");
    return MoveFiles(m_sLocalSendFolder, m_sRemoteSendFolder, false, progress) && !progress.Cancelled();
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.IZNSenderReceiver_Send", false);
}

bool clsFTPSndRcv::IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) try {
    const Progress progress(ProgressObject);
    ProcessParameters();
    if (m_sLocalReceiveFolder.empty() || m_sRemoteReceiveFolder.empty()) {
        ReportFailure(L"clsFTPSndRcv.cls.IZNSenderReceiver_Receive",
                      L"one or more of the Receive folders is not set", progress);
        return false;
    }
    progress.SetRange(0, 1);
    progress.StatusText(L"Receiving files");
    if (!MoveFiles(m_sRemoteReceiveFolder + L"/" + base::Upper(FolderName),
                   m_sLocalReceiveFolder + L"\\" + FolderName, true, progress))
        return false;
    // Hosts rely on being asked here, too; what was received stays received.
    progress.Cancelled();
    return true;
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.IZNSenderReceiver_Receive", false);
}

// --- Administration ---------------------------------------------------------------------------------

std::wstring clsFTPSndRcv::DisplayName() { return BrandedText(kNameText); }

ComPtr<IUnknown> clsFTPSndRcv::IZNMobileAdminProperties_Initialize(LONG Value, IUnknown* Context) try {
    return m_administration.Initialize(Value, Context);
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.IZNMobileAdminProperties_Initialize", ComPtr<IUnknown>());
}

ComPtr<IUnknown> clsFTPSndRcv::IZNMobileAdminProperties_Execute(LONG Value) try {
    return m_administration.Execute(Value);
} catch (...) {
    return StandardHandler(L"clsFTPSndRcv.cls.IZNMobileAdminProperties_Execute", ComPtr<IUnknown>());
}

// --- Binary contract --------------------------------------------------------------------------------

STDMETHODIMP clsFTPSndRcv::VerifyFTPSite(BSTR* Failure) {
    return Return(Failure, [&] { return VerifyFTPSite(); });
}
STDMETHODIMP clsFTPSndRcv::get_SupressMsg(VARIANT_BOOL* Value) {
    return Return(Value, [&] { return SupressMsg; });
}
STDMETHODIMP clsFTPSndRcv::put_SupressMsg(VARIANT_BOOL Value) {
    return Call([&] { SupressMsg = Value != VARIANT_FALSE; });
}
STDMETHODIMP clsFTPSndRcv::get_LoginCancelled(VARIANT_BOOL* Value) {
    return Return(Value, [&] { return m_connection.LoginCancelled; });
}
STDMETHODIMP clsFTPSndRcv::put_LoginCancelled(VARIANT_BOOL Value) {
    return Call([&] { m_connection.LoginCancelled = Value != VARIANT_FALSE; });
}
STDMETHODIMP clsFTPSndRcv::Connect(VARIANT_BOOL* Success) {
    return Return(Success, [&] { return IZNSenderReceiver_Connect(); });
}
STDMETHODIMP clsFTPSndRcv::Disconnect(VARIANT_BOOL* Success) {
    return Return(Success, [&] { return IZNSenderReceiver_Disconnect(); });
}
STDMETHODIMP clsFTPSndRcv::get_HasProperties(VARIANT_BOOL* Value) {
    return Return(Value, [] { return true; });
}
STDMETHODIMP clsFTPSndRcv::Initialize(LONG Value, IUnknown* Context, IUnknown** Result) {
    return Return(Result, [&] { return IZNMobileAdminProperties_Initialize(Value, Context); });
}
STDMETHODIMP clsFTPSndRcv::Execute(LONG Value, IUnknown** Result) {
    return Return(Result, [&] { return IZNMobileAdminProperties_Execute(Value); });
}
