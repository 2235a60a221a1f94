// Sender/receiver whose remote side is an FTP server.
#pragma once

#include <wrl/client.h>

#include <string>

#include "sendrecv/FtpAdministration.h"
#include "sendrecv/FtpConnection.h"
#include "sendrecv/Progress.h"
#include "sendrecv/SenderReceiver.h"

class clsFTPSndRcv final : public SenderReceiver<_clsFTPSndRcv> {
public:
    clsFTPSndRcv();

    // _clsFTPSndRcv
    STDMETHODIMP get_SupressMsg(VARIANT_BOOL* Value) override;
    STDMETHODIMP put_SupressMsg(VARIANT_BOOL Value) override;
    STDMETHODIMP VerifyFTPSite(BSTR* Failure) override;
    // _clsFTPSndRcv and IZNSenderReceiver
    STDMETHODIMP get_LoginCancelled(VARIANT_BOOL* Value) override;
    STDMETHODIMP put_LoginCancelled(VARIANT_BOOL Value) override;
    // IZNSenderReceiver and IZNSenderReceiver2
    STDMETHODIMP Connect(VARIANT_BOOL* Success) override;
    STDMETHODIMP Disconnect(VARIANT_BOOL* Success) override;
    // IZNMobileAdminProperties
    STDMETHODIMP get_HasProperties(VARIANT_BOOL* Value) override;
    STDMETHODIMP Initialize(LONG Value, IUnknown* Context, IUnknown** Result) override;
    STDMETHODIMP Execute(LONG Value, IUnknown** Result) override;

private:
    void TakeSetting(const std::wstring& name, const com::Variant& value) override;
    bool IZNSenderReceiver_Connect();
    bool IZNSenderReceiver_Disconnect();
    bool IZNSenderReceiver_Send(IUnknown* ProgressObject) override;
    bool IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) override;
    void IZNSenderReceiver2_PropSet(IZNPropertySet* Settings) override;
    Microsoft::WRL::ComPtr<IZNPropertySet> IZNSenderReceiver2_PropSet() override;
    std::wstring DisplayName() override;
    Microsoft::WRL::ComPtr<IUnknown> IZNMobileAdminProperties_Initialize(LONG Value, IUnknown* Context);
    Microsoft::WRL::ComPtr<IUnknown> IZNMobileAdminProperties_Execute(LONG Value);

    std::wstring VerifyFTPSite();
    void ProcessParameters();
    void ReadMissingSettings();
    bool InternalOpenConnection(const Progress& progress);
    bool MoveFiles(const std::wstring& from, const std::wstring& to, bool receiving,
                   const Progress& progress);

    FtpConnection m_connection;
    bool m_bSettingsProcessed = false;
    FtpAdministration m_administration;
};
