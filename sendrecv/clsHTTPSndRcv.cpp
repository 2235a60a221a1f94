// See clsHTTPSndRcv.h.
#include "sendrecv/clsHTTPSndRcv.h"

#include <array>
#include <utility>

#include "http/HttpError.h"
#include "services/Options.h"
#include "services/Registry.h"
#include "services/ShownProcedure.h"
#include "webdav/DavPromises.h"
#include "webdav/DavReceiver.h"
#include "webdav/DavRelease.h"
#include "webdav/DavSender.h"
#include "webdav/DavTransfer.h"

namespace {

struct HttpSetting {
    std::wstring HttpSite::*member;
    const wchar_t* name;      ///< for Init, as an option and in the registry
    const wchar_t* property;  ///< in the property set
};
constexpr auto kSettings = std::to_array<HttpSetting>(
    {{&HttpSite::url, L"HTTPServer", L"HTTP_SERVER"},
     {&HttpSite::user, L"HTTPUser", L"HTTP_USER"},
     {&HttpSite::password, L"HTTPPassword", L"HTTP_PASSWORD"},
     {&HttpSite::login, L"HTTPLogin", L"HTTP_LOGIN"},
     {&HttpSite::clientCertificate, L"HTTPClientCertificate", L"HTTP_CLIENT_CERTIFICATE"},
     {&HttpSite::pins, L"HTTPPins", L"HTTP_PINS"},
     {&HttpSite::proxy, L"HTTPProxy", L"HTTP_PROXY"},
     {&HttpSite::proxyUser, L"HTTPProxyUser", L"HTTP_PROXY_USER"},
     {&HttpSite::proxyPassword, L"HTTPProxyPassword", L"HTTP_PROXY_PASSWORD"}});

/// Folders on the server begin at the site's.
std::wstring WithoutRoot(const std::wstring& folder) {
    const size_t first = folder.find_first_not_of(L'/');
    const size_t last = folder.find_last_not_of(L'/');
    return first == std::wstring::npos ? std::wstring() : folder.substr(first, last - first + 1);
}

void Show(const HostProgress& progress, const std::wstring& promise, const DavFinding& finding) {
    const bool isBroken = finding.outcome == DavFinding::Outcome::Broken;
    const wchar_t* const mark = finding.outcome == DavFinding::Outcome::Noted ? L"note: " : L"";
    const std::wstring what = mark + promise + L": " + finding.what;
    progress.AddMessage(finding.advice.empty() ? what : Lines(what, L"  -> " + finding.advice),
                        isBroken ? ZN_PROGRESS_FAILURE : ZN_PROGRESS_INFORMATION);
}

}  // namespace

// --- Settings ---------------------------------------------------------------------------------------

void clsHTTPSndRcv::TakeSetting(const std::wstring& name, const com::Variant& value) {
    SenderReceiver::TakeSetting(name, value);
    for (const HttpSetting& setting : kSettings)
        if (name == setting.name) m_site.*setting.member = value.Text();
}

void clsHTTPSndRcv::ReadSettings(IZNPropertySet* settings) {
    SenderReceiver::ReadSettings(settings);
    for (const HttpSetting& setting : kSettings)
        m_site.*setting.member = GetProperty(settings, setting.property, m_site.*setting.member);
    m_sRemoteSendFolder = GetProperty(settings, L"REMOTE_SEND_FOLDER", m_sRemoteSendFolder);
    m_sRemoteReceiveFolder = GetProperty(settings, L"REMOTE_RECEIVE_FOLDER", m_sRemoteReceiveFolder);
}

void clsHTTPSndRcv::WriteSettings(IZNPropertySet* settings) const {
    for (const HttpSetting& setting : kSettings)
        SetProperty(settings, setting.property, m_site.*setting.member);
    SenderReceiver::WriteSettings(settings);
    SetProperty(settings, L"REMOTE_SEND_FOLDER", m_sRemoteSendFolder);
    SetProperty(settings, L"REMOTE_RECEIVE_FOLDER", m_sRemoteReceiveFolder);
}

/// Once for each object: a value that is cleared later stays empty.
void clsHTTPSndRcv::ReadMissingSettings() {
    if (std::exchange(m_bSettingsProcessed, true)) return;
    const auto fill = [](std::wstring& value, const wchar_t* name) {
        if (value.empty()) value = OptionOrSetting(name, OpenTransportKey());
    };
    for (const HttpSetting& setting : kSettings)
        fill(m_site.*setting.member, setting.name);
    fill(m_sRemoteReceiveFolder, L"RemoteReceiveFolder");
    fill(m_sRemoteSendFolder, L"RemoteSendFolder");
}

// --- Transfer ---------------------------------------------------------------------------------------

template <class Call>
bool clsHTTPSndRcv::WithServer(const Procedure& self, const HostProgress& progress, Call&& call) {
    return Exclusively(self, [&] {
        const ShownProcedure shown(self.Name(), progress);
        if (m_site.url.empty()) return shown.Fail(L"The URL of the WebDAV server is not set");
        const auto goOn = [&] { return !progress.Cancelled(); };
        try {
            return Try(shown, [&] { return call(DavServer(m_site, goOn)); });
        } catch (const HttpError&) {
            return false;  // somebody wants an end
        }
    });
}

STDMETHODIMP clsHTTPSndRcv::Connect(VARIANT_BOOL* Success) {
    return com::Return(Success, [&] {
        const Procedure self(L"clsHTTPSndRcv.cls.IZNSenderReceiver_Connect");
        const HostProgress progress(nullptr);
        return self.Guard(false, [&] {
            ReadMissingSettings();
            const std::wstring folder =
                WithoutRoot(m_sRemoteSendFolder.empty() ? m_sRemoteReceiveFolder : m_sRemoteSendFolder);
            return WithServer(self, progress, [&](const DavServer& server) {
                return server.IsThere(folder) || self.Fail(L"The server " + server.Name() +
                                                           L" has no folder at that address: " + m_site.url);
            });
        });
    });
}

bool clsHTTPSndRcv::IZNSenderReceiver_Send(IUnknown* ProgressObject) {
    const Procedure self(L"clsHTTPSndRcv.cls.IZNSenderReceiver_Send");
    return self.Guard(false, [&] {
        const HostProgress progress(ProgressObject);
        ReadMissingSettings();
        // The host may set other folders while its messages are processed.
        const std::wstring local = m_sLocalSendFolder;
        const std::wstring remote = WithoutRoot(m_sRemoteSendFolder);
        if (local.empty() || remote.empty())
            return ShownProcedure(self.Name(), progress).Fail(L"one or more of the Send folders is not set");
        progress.SetRange(0, 1);
        progress.StatusText(L"Sending files");
        return WithServer(self, progress, [&](const DavServer& server) {
            return DavSender(server, progress).MoveFiles(local, remote) && !progress.Cancelled();
        });
    });
}

bool clsHTTPSndRcv::IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) {
    const Procedure self(L"clsHTTPSndRcv.cls.IZNSenderReceiver_Receive");
    return self.Guard(false, [&] {
        const HostProgress progress(ProgressObject);
        ReadMissingSettings();
        const std::wstring local = m_sLocalReceiveFolder;
        const std::wstring remote = WithoutRoot(m_sRemoteReceiveFolder);
        if (local.empty() || remote.empty())
            return ShownProcedure(self.Name(), progress)
                .Fail(L"one or more of the Receive folders is not set");
        const std::wstring subFolder = WithoutRoot(RemotePath(FolderName));
        if (!IsBelowPackets(subFolder))
            return ShownProcedure(self.Name(), progress)
                .Fail(L"The folder " + FolderName +
                      L" is none that packets are received from. Name one below the Receive folder.");
        progress.SetRange(0, 1);
        progress.StatusText(L"Receiving files");
        return WithServer(self, progress, [&](const DavServer& server) {
            return DavReceiver(server, progress).MoveFiles(remote, subFolder, local) && !progress.Cancelled();
        });
    });
}

bool clsHTTPSndRcv::IZNVerification_Verify(IUnknown* ProgressObject) {
    const Procedure self(L"clsHTTPSndRcv.cls.IZNVerification_Verify");
    return self.Guard(false, [&] {
        const HostProgress progress(ProgressObject);
        ReadMissingSettings();
        const DavWay way{WithoutRoot(m_sRemoteSendFolder), WithoutRoot(m_sRemoteReceiveFolder),
                         m_sLocalSendFolder, m_sLocalReceiveFolder};
        if (way.send.empty() || way.receive.empty() || way.localSend.empty() || way.localReceive.empty())
            return ShownProcedure(self.Name(), progress).Fail(L"one or more of the folders is not set");
        progress.StatusText(L"Testing the WebDAV server");
        return WithServer(self, progress, [&](const DavServer&) {
            return DavPromises(m_site, way, progress).AreKept([&](const auto& promise, const auto& finding) {
                Show(progress, promise, finding);
            });
        });
    });
}

bool clsHTTPSndRcv::IZNClaims_ReleaseClaims(const std::wstring& Installation, IUnknown* ProgressObject) {
    const Procedure self(L"clsHTTPSndRcv.cls.IZNClaims_ReleaseClaims");
    return self.Guard(false, [&] {
        const HostProgress progress(ProgressObject);
        ReadMissingSettings();
        const ShownProcedure shown(self.Name(), progress);
        const std::wstring remote = WithoutRoot(m_sRemoteReceiveFolder);
        if (remote.empty()) return shown.Fail(L"one or more of the Receive folders is not set");
        return WithServer(self, progress, [&](const DavServer& server) {
            return Installation.empty() ? ShowClaims(server, remote, shown, progress)
                                        : ::ReleaseClaims(server, remote, Installation, shown, progress);
        });
    });
}
