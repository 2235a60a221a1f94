// See Session.h.
#include "host/session/Session.h"

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Text.h"
#include "com/Create.h"
#include "com/Result.h"
#include "com/Values.h"
#include "ftp/settings/AdminXml.h"
#include "host/session/Components.h"
#include "packets/EncodedName.h"
#include "packets/PacketName.h"
#include "packets/ReplacedVersions.h"

using Microsoft::WRL::ComPtr;

namespace {

/// A property set that is filled while it is built.
class PropertySet {
public:
    PropertySet() : m_set(CreateComponent<ZNPropertySet, IZNPropertySet>(L"znSystem.ZNPropertySet")) {}

    PropertySet& With(std::wstring_view name, const std::wstring& value) {
        com::Check(m_set->SetProperty(com::Bstr(name).Get(), com::Variant(value).Get()), name);
        return *this;
    }
    IZNPropertySet* Get() const { return m_set.Get(); }

private:
    ComPtr<IZNPropertySet> m_set;
};

const wchar_t* Mobile(const Settings& settings) { return settings.role == Role::Field ? L"TRUE" : L"FALSE"; }

ComPtr<IZNSenderReceiver> NewSenderReceiver(Transport transport) {
    switch (transport) {
    case Transport::Ftp:
        return CreateComponent<clsFTPSndRcv, IZNSenderReceiver>(L"znTransporter.clsFTPSndRcv");
    case Transport::Https:
        return CreateComponent<clsHTTPSndRcv, IZNSenderReceiver>(L"znTransporter.clsHTTPSndRcv");
    default:
        return CreateComponent<clsXCOPYSndRcv, IZNSenderReceiver>(L"znTransporter.clsXCOPYSndRcv");
    }
}

/// The names of an encoder's properties are those of its settings in capitals.
PropertySet PropertiesOf(Section encoder, const Settings& settings) {
    PropertySet properties;
    for (const Setting& setting : kSettings) {
        if (setting.section != encoder) continue;
        const std::wstring value = setting.text(settings);
        if (!value.empty()) properties.With(base::Upper(setting.name), value);
    }
    return properties.With(L"MOBILE", Mobile(settings));
}

template <class Class>
ComPtr<IZNEncoder> NewEncoder(const wchar_t* component, const Settings& settings) {
    auto encoder = CreateComponent<Class, IZNEncoder>(component);
    const com::Bstr application(settings.applicationName);
    com::Check(com::As<IZNEncoder2>(encoder.Get())->put_ApplicationName(application.Get()));
    return encoder;
}

constexpr auto kXDeltaEncoder = L"znTransporter.clsXDeltaEncoder";

std::wstring ReferenceOf(IZNEncoder* encoder) {
    return com::Get<std::wstring>(&_clsXDeltaEncoder::get_ReferencePath,
                                  com::As<_clsXDeltaEncoder>(encoder).Get());
}

/// The settings' own was looked at with them; one of the registry has not been.
void CheckReference(IZNEncoder* encoder) {
    const std::wstring reference = ReferenceOf(encoder);
    if (!FileSystem::FileExists(reference) || CanBeReference(Path::FileName(reference))) return;
    throw base::Error(E_INVALIDARG,
                      L"The registry names the reference file " + reference +
                          L", by whose name the other side would find none: on both sides it must end in "
                          L".AXR and hold no ~. Rename it, or name another one: [xdelta] reference_path");
}

}  // namespace

std::wstring ReferenceInUse(const Settings& settings) {
    const auto encoder = NewEncoder<clsXDeltaEncoder>(kXDeltaEncoder, settings);
    const PropertySet properties = PropertiesOf(Section::XDelta, settings);
    com::Check(com::As<IZNEncoder2>(encoder.Get())->putref_PropSet(properties.Get()), kXDeltaEncoder);
    return ReferenceOf(encoder.Get());
}

Session::Session(const Settings& settings) : m_settings(settings) {
    ConfigureFramework(settings);
    m_transporter = CreateComponent<clsTransporter, IZNTransporter>(L"znTransporter.clsTransporter");
    m_backups = com::As<IZNTransporter2>(m_transporter.Get());
    com::Check(m_backups->put_BackupEnabled(settings.backups ? VARIANT_TRUE : VARIANT_FALSE));
    AddEncoder<clsZipEncoder>(L"znTransporter.clsZipEncoder", settings, Section::Zip, settings.zip,
                              L"Unzip.exe");
    const auto delta = AddEncoder<clsXDeltaEncoder>(kXDeltaEncoder, settings, Section::XDelta,
                                                    settings.xdelta, L"xDelta.exe");
    const bool makesDifferences = settings.encoder == EncoderKind::XDelta;
    if (makesDifferences) CheckReference(delta.Get());
    if (const EncoderSettings* const chosen = settings.ChosenEncoder())
        m_encodedEnding =
            EncodedEnding(makesDifferences ? Path::BaseName(ReferenceOf(delta.Get())) : std::wstring(),
                          chosen->outExtension);
    CreateSenderReceiver(settings);
    com::Check(m_transporter->putref_SenderReceiver(m_senderReceiver.Get()));
}

/// Every encoder decodes what comes in; only the chosen one also encodes. One whose program is missing takes
/// no settings but its extension: what it should decode is then reported and stays.
template <class Class>
ComPtr<IZNEncoder> Session::AddEncoder(const wchar_t* component, const Settings& settings, Section section,
                                       const EncoderSettings& own, const wchar_t* decodingProgram) {
    const bool encodes = settings.ChosenEncoder() == &own;
    const bool works = encodes || FileSystem::FileExists(Path::Join(own.programFolder, decodingProgram));
    auto encoder = NewEncoder<Class>(component, settings);
    if (works)
        com::Check(com::As<IZNEncoder2>(encoder.Get())->putref_PropSet(PropertiesOf(section, settings).Get()),
                   component);
    else
        com::Check(encoder->put_OutExtension(com::Bstr(own.outExtension).Get()));
    if (!encodes) com::Check(encoder->put_InExtension(nullptr));
    com::Check(m_transporter->putref_Encoder(encoder.Get()));
    return encoder;
}

/// The name comes before the settings, whose defaults depend on it; the remote side's settings come last:
/// the folder transport of the enterprise, and a login, are only taken there.
void Session::CreateSenderReceiver(const Settings& settings) {
    m_senderReceiver = NewSenderReceiver(settings.transport);
    const auto configurable = com::As<IZNSenderReceiver2>(m_senderReceiver.Get());
    com::Check(configurable->put_ApplicationName(com::Bstr(settings.applicationName).Get()));
    PropertySet local;
    local.With(L"MOBILE", Mobile(settings))
        .With(L"LOCAL_SEND_FOLDER", settings.send)
        .With(L"LOCAL_RECEIVE_FOLDER", settings.receive)
        .With(L"REMOTE_SEND_FOLDER", settings.remoteSend)
        .With(L"REMOTE_RECEIVE_FOLDER", settings.remoteReceive);
    com::Check(configurable->putref_PropSet(local.Get()));
    PropertySet remote;
    remote.With(L"RemoteSendFolder", settings.remoteSend)
        .With(L"RemoteReceiveFolder", settings.remoteReceive)
        .With(L"FTPServer", settings.ftpServer)
        .With(L"FTPUser", settings.ftpUser)
        .With(L"FTPPassword", settings.ftpPassword.plain)
        .With(L"HTTPServer", settings.httpsServer)
        .With(L"HTTPUser", settings.httpsUser)
        .With(L"HTTPPassword", settings.httpsPassword.plain)
        .With(L"HTTPLogin", settings.httpsLogin)
        .With(L"HTTPClientCertificate", settings.httpsClientCertificate)
        .With(L"HTTPPins", settings.httpsPins)
        .With(L"HTTPProxy", settings.httpsProxy)
        .With(L"HTTPProxyUser", settings.httpsProxyUser)
        .With(L"HTTPProxyPassword", settings.httpsProxyPassword.plain);
    if (!com::Get<bool>(&IZNSenderReceiver::Init, m_senderReceiver.Get(), remote.Get()))
        throw base::Error(E_FAIL, L"The sender/receiver refuses the settings of its remote side.");
}

void Session::DemandWorkFolder() const try { m_workFolder.Path(); } catch (const base::Error& error) {
    throw base::Error(error.failure().number,
                      L"there is no folder for the work file of the zip program: " +
                          error.failure().description +
                          L"; let TEMP and TMP of the account that runs znhost name a folder where it may "
                          L"write");
}

bool Session::Add(const std::wstring& path, const std::wstring& subFolder) {
    const EncoderSettings* const encoder = m_settings.ChosenEncoder();
    const bool isEncoded = encoder && HasExtension(path, encoder->inExtension);
    if (isEncoded && m_settings.encoder == EncoderKind::Zip) DemandWorkFolder();
    const bool added = com::Get<bool>(&IZNTransporter::Add, m_transporter.Get(), com::Bstr(path).Get(),
                                      com::Bstr(subFolder).Get());
    if (added && isEncoded)
        RefuseEmptyFile(
            Path::Join(Path::Join(m_settings.send, subFolder), Path::FileName(path) + m_encodedEnding));
    return added;
}

bool Session::SendReceive(IUnknown* progress) {
    return com::Get<bool>(&IZNTransporter::SendReceive, m_transporter.Get(), com::Bstr(L"").Get(), progress);
}

bool Session::LoginCancelled() {
    return com::Get<bool>(&IZNSenderReceiver::get_LoginCancelled, m_senderReceiver.Get());
}

std::vector<std::wstring> Session::FilesToSend(const std::wstring& subFolder) {
    const LONG count =
        com::Get<LONG>(&IZNTransporter::ResetLocalSendFiles, m_transporter.Get(), com::Bstr(subFolder).Get());
    std::vector<std::wstring> files;
    for (LONG i = 0; i < count; ++i) {
        com::Bstr file;
        VARIANT_BOOL ignored = VARIANT_FALSE;
        com::Check(m_transporter->NextLocalSendFile(file.Put(), &ignored));
        files.push_back(file.Text());
    }
    return files;
}

LONG Session::ResetReceived(const std::wstring& subFolder) {
    return com::Get<LONG>(&IZNTransporter::ResetLocalReceiveFiles, m_transporter.Get(),
                          com::Bstr(subFolder).Get());
}

std::optional<std::wstring> Session::DeliverNext(const std::wstring& destination) {
    com::Bstr file;
    VARIANT_BOOL delivered = VARIANT_FALSE;
    com::Check(m_transporter->NextLocalReceiveFile(com::Bstr(destination).Get(), file.Put(), &delivered));
    if (delivered == VARIANT_FALSE) return std::nullopt;
    return file.Text();
}

std::vector<std::wstring> Session::PacketsWithBackup() {
    com::Check(m_backups->put_BackupEnabled(VARIANT_TRUE));
    com::Check(m_backups->Reset());
    std::vector<std::wstring> packetIds;
    for (;;) {
        auto id = com::Get<std::wstring>(&IZNTransporter2::Next, m_backups.Get());
        if (id.empty()) return packetIds;
        packetIds.push_back(std::move(id));
    }
}

bool Session::RestoreBackup(const std::wstring& packetId) {
    return com::Get<bool>(&IZNTransporter2::RestoreBackup, m_backups.Get(), com::Bstr(packetId).Get());
}

bool Session::DestroyBackup(const std::wstring& packetId) {
    return com::Get<bool>(&IZNTransporter2::DestroyBackup, m_backups.Get(), com::Bstr(packetId).Get());
}

bool Session::Connects() {
    const bool connected = com::Get<bool>(&IZNSenderReceiver::Connect, m_senderReceiver.Get());
    if (connected) com::Get<bool>(&IZNSenderReceiver::Disconnect, m_senderReceiver.Get());
    return connected;
}

std::wstring Session::VerifySite(std::wstring& report) {
    const auto site = com::As<_clsFTPSndRcv>(m_senderReceiver.Get());
    auto failure = com::Get<std::wstring>(&_clsFTPSndRcv::VerifyFTPSite, site.Get());
    report = com::Get<std::wstring>(&_clsFTPSndRcv::get_VerificationReport, site.Get());
    return failure;
}

bool Session::VerifyServer(IUnknown* progress) {
    const auto server = com::As<IZNVerification>(m_senderReceiver.Get());
    return com::Get<bool>(&IZNVerification::Verify, server.Get(), progress);
}

bool Session::ReleaseClaims(const std::wstring& installation, IUnknown* progress) {
    const auto server = com::As<IZNClaims>(m_senderReceiver.Get());
    const com::Bstr name(installation);
    return com::Get<bool>(&IZNClaims::ReleaseClaims, server.Get(), name.Get(), progress);
}

ZNDialogEnd Session::EditSite(FtpSite& site) {
    constexpr LONG kBothSides = 3;
    const auto properties = com::As<IZNMobileAdminProperties>(m_senderReceiver.Get());
    ComPtr<IUnknown> ignored;
    ComPtr<IUnknown> edited;
    com::Check(properties->Initialize(kBothSides, AdminXml::NewDocument(&site).Get(), &ignored));
    com::Check(properties->Execute(kBothSides, &edited));
    const auto end = static_cast<ZNDialogEnd>(
        com::Get<LONG>(&_clsFTPSndRcv::get_DialogEnd, com::As<_clsFTPSndRcv>(m_senderReceiver.Get()).Get()));
    if (end == ZN_DIALOG_APPLIED) AdminXml::ReadSettings(edited.Get(), site);
    return end;
}
