// Sender/receiver whose remote side is a WebDAV server, reached through HTTPS.
#pragma once

#include <string>

#include "http/HttpSite.h"
#include "sendrecv/SenderReceiver.h"

class clsHTTPSndRcv final
    : public SenderReceiver<com::Dual<_clsHTTPSndRcv2, _clsHTTPSndRcv>, IZNVerification, IZNClaims> {
public:
    clsHTTPSndRcv() : SenderReceiver(L"clsHTTPSndRcv") {}

    // _clsHTTPSndRcv2, and _clsHTTPSndRcv, which it extends
    STDMETHODIMP put_RemoteSendFolder(BSTR Value) override { return com::Assign(m_sRemoteSendFolder, Value); }
    STDMETHODIMP put_RemoteReceiveFolder(BSTR Value) override {
        return com::Assign(m_sRemoteReceiveFolder, Value);
    }
    STDMETHODIMP get_Server(BSTR* Value) override { return com::Return(Value, m_site.url); }
    STDMETHODIMP put_Server(BSTR Value) override { return com::Assign(m_site.url, Value); }
    STDMETHODIMP get_UserName(BSTR* Value) override { return com::Return(Value, m_site.user); }
    STDMETHODIMP put_UserName(BSTR Value) override { return com::Assign(m_site.user, Value); }
    STDMETHODIMP put_Password(BSTR Value) override { return com::Assign(m_site.password, Value); }
    STDMETHODIMP get_Login(BSTR* Value) override { return com::Return(Value, m_site.login); }
    STDMETHODIMP put_Login(BSTR Value) override { return com::Assign(m_site.login, Value); }
    STDMETHODIMP get_ClientCertificate(BSTR* Value) override {
        return com::Return(Value, m_site.clientCertificate);
    }
    STDMETHODIMP put_ClientCertificate(BSTR Value) override {
        return com::Assign(m_site.clientCertificate, Value);
    }
    STDMETHODIMP get_Pins(BSTR* Value) override { return com::Return(Value, m_site.pins); }
    STDMETHODIMP put_Pins(BSTR Value) override { return com::Assign(m_site.pins, Value); }
    STDMETHODIMP get_Proxy(BSTR* Value) override { return com::Return(Value, m_site.proxy); }
    STDMETHODIMP put_Proxy(BSTR Value) override { return com::Assign(m_site.proxy, Value); }
    STDMETHODIMP get_ProxyUserName(BSTR* Value) override { return com::Return(Value, m_site.proxyUser); }
    STDMETHODIMP put_ProxyUserName(BSTR Value) override { return com::Assign(m_site.proxyUser, Value); }
    STDMETHODIMP put_ProxyPassword(BSTR Value) override { return com::Assign(m_site.proxyPassword, Value); }
    // IZNSenderReceiver
    STDMETHODIMP get_LoginCancelled(VARIANT_BOOL* Value) override { return com::Return(Value, false); }
    STDMETHODIMP put_LoginCancelled(VARIANT_BOOL) override { return S_OK; }
    // IZNSenderReceiver and IZNSenderReceiver2
    STDMETHODIMP Connect(VARIANT_BOOL* Success) override;
    STDMETHODIMP Disconnect(VARIANT_BOOL* Success) override { return com::Return(Success, true); }
    // IZNVerification
    STDMETHODIMP Verify(IUnknown* Progress, VARIANT_BOOL* Result) override {
        return com::Return(Result, [&] { return IZNVerification_Verify(Progress); });
    }
    // IZNClaims
    STDMETHODIMP ReleaseClaims(BSTR Installation, IUnknown* Progress, VARIANT_BOOL* Result) override {
        return com::Return(Result,
                           [&] { return IZNClaims_ReleaseClaims(com::Text(Installation), Progress); });
    }

private:
    void TakeSetting(const std::wstring& name, const com::Variant& value) override;
    void ReadSettings(IZNPropertySet* settings) override;
    void WriteSettings(IZNPropertySet* settings) const override;
    bool IZNSenderReceiver_Send(IUnknown* ProgressObject) override;
    bool IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) override;
    bool IZNVerification_Verify(IUnknown* ProgressObject);
    bool IZNClaims_ReleaseClaims(const std::wstring& Installation, IUnknown* ProgressObject);
    std::wstring DisplayName() override { return L"HTTPS (WebDAV)"; }

    void ReadMissingSettings();
    template <class Call>
    bool WithServer(const Procedure& self, const HostProgress& progress, Call&& call);

    HttpSite m_site;
    bool m_bSettingsProcessed = false;
};
