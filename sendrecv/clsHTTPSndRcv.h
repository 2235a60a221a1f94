// Sender/receiver whose remote side is a WebDAV server, reached through HTTPS.
#pragma once

#include <string>

#include "http/HttpSite.h"
#include "sendrecv/SenderReceiver.h"

class clsHTTPSndRcv final : public SenderReceiver<com::Dual<_clsHTTPSndRcv>, IZNVerification, IZNClaims> {
public:
    clsHTTPSndRcv() : SenderReceiver(L"clsHTTPSndRcv") {}

    // _clsHTTPSndRcv
    STDMETHODIMP put_RemoteSendFolder(BSTR Value) override { return com::Assign(m_sRemoteSendFolder, Value); }
    STDMETHODIMP put_RemoteReceiveFolder(BSTR Value) override {
        return com::Assign(m_sRemoteReceiveFolder, Value);
    }
    STDMETHODIMP get_Server(BSTR* Value) override { return com::Return(Value, m_site.url); }
    STDMETHODIMP put_Server(BSTR Value) override { return com::Assign(m_site.url, Value); }
    STDMETHODIMP get_UserName(BSTR* Value) override { return com::Return(Value, m_site.user); }
    STDMETHODIMP put_UserName(BSTR Value) override { return com::Assign(m_site.user, Value); }
    STDMETHODIMP put_Password(BSTR Value) override { return com::Assign(m_site.password, Value); }
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
