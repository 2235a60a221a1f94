// Sender/receiver whose remote side is an FTP server.
#pragma once

#include <wrl/client.h>

#include <string>

#include "sendrecv/FtpAdministration.h"
#include "sendrecv/FtpSession.h"
#include "sendrecv/SenderReceiver.h"

class clsFTPSndRcv final : public SenderReceiver<com::Dual<_clsFTPSndRcv2, _clsFTPSndRcv>> {
public:
    clsFTPSndRcv() : SenderReceiver(L"clsFTPSndRcv") {}

    // _clsFTPSndRcv
    STDMETHODIMP get_SupressMsg(VARIANT_BOOL* Value) override { return com::Return(Value, SupressMsg); }
    STDMETHODIMP put_SupressMsg(VARIANT_BOOL Value) override { return com::Assign(SupressMsg, Value); }
    STDMETHODIMP VerifyFTPSite(BSTR* Failure) override;
    STDMETHODIMP get_VerificationReport(BSTR* Value) override {
        return com::Return(Value, m_sVerificationReport);
    }
    STDMETHODIMP get_DialogEnd(LONG* Value) override {
        return com::Return(Value, static_cast<LONG>(m_administration.DialogEnd()));
    }
    // _clsFTPSndRcv2
    STDMETHODIMP put_RemoteSendFolder(BSTR Value) override { return com::Assign(m_sRemoteSendFolder, Value); }
    STDMETHODIMP put_RemoteReceiveFolder(BSTR Value) override {
        return com::Assign(m_sRemoteReceiveFolder, Value);
    }
    STDMETHODIMP get_Server(BSTR* Value) override { return com::Return(Value, m_session.site.server); }
    STDMETHODIMP put_Server(BSTR Value) override { return com::Assign(m_session.site.server, Value); }
    STDMETHODIMP get_UserName(BSTR* Value) override { return com::Return(Value, m_session.site.user); }
    STDMETHODIMP put_UserName(BSTR Value) override { return com::Assign(m_session.site.user, Value); }
    STDMETHODIMP put_Password(BSTR Value) override { return com::Assign(m_session.site.password, Value); }
    STDMETHODIMP get_Mobile(VARIANT_BOOL* Value) override { return com::Return(Value, m_bMobile); }
    STDMETHODIMP put_Mobile(VARIANT_BOOL Value) override { return com::Assign(m_bMobile, Value); }
    // _clsFTPSndRcv and IZNSenderReceiver
    STDMETHODIMP get_LoginCancelled(VARIANT_BOOL* Value) override {
        return com::Return(Value, m_session.LoginCancelled);
    }
    STDMETHODIMP put_LoginCancelled(VARIANT_BOOL Value) override {
        return com::Assign(m_session.LoginCancelled, Value);
    }
    // IZNSenderReceiver and IZNSenderReceiver2
    STDMETHODIMP Connect(VARIANT_BOOL* Success) override;
    STDMETHODIMP Disconnect(VARIANT_BOOL* Success) override;
    // IZNMobileAdminProperties
    STDMETHODIMP get_HasProperties(VARIANT_BOOL* Value) override { return com::Return(Value, true); }
    STDMETHODIMP Initialize(LONG Value, IUnknown* Context, IUnknown** Result) override;
    STDMETHODIMP Execute(LONG Value, IUnknown** Result) override;

protected:
    /// Only hosts end a connection, by Disconnect: the session stays theirs.
    ~clsFTPSndRcv() override { m_session.connection.Abandon(); }

private:
    void TakeSetting(const std::wstring& name, const com::Variant& value) override;
    void ReadSettings(IZNPropertySet* settings) override;
    void WriteSettings(IZNPropertySet* settings) const override;
    bool IZNSenderReceiver_Send(IUnknown* ProgressObject) override;
    bool IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) override;
    std::wstring DisplayName() override;

    std::wstring WhyNotVerified();
    void ProcessParameters();
    void ReadMissingSettings(const Procedure& self);
    bool InternalOpenConnection(const HostProgress& progress);
    template <class Call>
    bool Connected(const Procedure& self, const HostProgress& progress, Call&& call);

    FtpSession m_session;
    bool m_bSettingsProcessed = false;
    bool m_closing = false;  ///< as soon as the call that runs has ended
    std::wstring m_sVerificationReport;
    FtpAdministration m_administration;
};
