// Sender/receiver whose remote side is an FTP server.
#pragma once

#include <wrl/client.h>

#include <string>

#include "com/Object.h"
#include "com/Text.h"
#include "common/FolderLocator.h"
#include "sendrecv/FtpAdministration.h"
#include "sendrecv/FtpConnection.h"
#include "sendrecv/Progress.h"
#include "znTransporter.h"

class clsFTPSndRcv final : public com::Object<com::Dual<_clsFTPSndRcv>, IZNSenderReceiver, IZNSenderReceiver2,
                                              IZNMobileAdminProperties, IZNRegInCat> {
public:
    // _clsFTPSndRcv
    STDMETHODIMP
    get_SupressMsg(VARIANT_BOOL* Value) override;
    STDMETHODIMP
    put_SupressMsg(VARIANT_BOOL Value) override;
    STDMETHODIMP
    VerifyFTPSite(BSTR* Failure) override;
    // _clsFTPSndRcv and IZNSenderReceiver
    STDMETHODIMP
    get_LoginCancelled(VARIANT_BOOL* Value) override;
    STDMETHODIMP
    put_LoginCancelled(VARIANT_BOOL Value) override;
    // IZNSenderReceiver
    STDMETHODIMP
    get_LocalSendFolder(BSTR* Value) override;
    STDMETHODIMP
    put_LocalSendFolder(BSTR Value) override;
    STDMETHODIMP
    get_LocalReceiveFolder(BSTR* Value) override;
    STDMETHODIMP
    put_LocalReceiveFolder(BSTR Value) override;
    STDMETHODIMP
    Init(IZNPropertySet* Settings, VARIANT_BOOL* Success) override;
    // IZNSenderReceiver and IZNSenderReceiver2
    STDMETHODIMP
    Send(BSTR FolderName, IUnknown* Progress, VARIANT_BOOL* Success) override;
    STDMETHODIMP
    Receive(BSTR FolderName, IUnknown* Progress, VARIANT_BOOL* Success) override;
    STDMETHODIMP
    Connect(VARIANT_BOOL* Success) override;
    STDMETHODIMP
    Disconnect(VARIANT_BOOL* Success) override;
    // IZNSenderReceiver2
    STDMETHODIMP
    get_PropSet(IZNPropertySet** Value) override;
    STDMETHODIMP
    putref_PropSet(IZNPropertySet* Value) override;
    STDMETHODIMP
    get_ApplicationName(BSTR* Value) override;
    STDMETHODIMP
    put_ApplicationName(BSTR Value) override;
    // IZNMobileAdminProperties
    STDMETHODIMP
    get_Name(BSTR* Value) override;
    STDMETHODIMP
    get_HasProperties(VARIANT_BOOL* Value) override;
    STDMETHODIMP
    Initialize(LONG Value, IUnknown* Context, IUnknown** Result) override;
    STDMETHODIMP
    Execute(LONG Value, IUnknown** Result) override;
    // IZNRegInCat
    STDMETHODIMP
    get_CategoriesToReg(VARIANT* Value) override;

private:
    bool IZNSenderReceiver_Init(IZNPropertySet* Settings);
    bool IZNSenderReceiver_Connect();
    bool IZNSenderReceiver_Disconnect();
    bool IZNSenderReceiver_Send(IUnknown* ProgressObject);
    bool IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject);
    void IZNSenderReceiver2_PropSet(IZNPropertySet* Settings);
    Microsoft::WRL::ComPtr<IZNPropertySet> IZNSenderReceiver2_PropSet();
    void IZNSenderReceiver2_ApplicationName(const std::wstring& Name);
    std::wstring IZNMobileAdminProperties_Name();
    Microsoft::WRL::ComPtr<IUnknown> IZNMobileAdminProperties_Initialize(LONG Value, IUnknown* Context);
    Microsoft::WRL::ComPtr<IUnknown> IZNMobileAdminProperties_Execute(LONG Value);
    com::Variant IZNRegInCat_CategoriesToReg();

    std::wstring VerifyFTPSite();
    void ProcessParameters();
    void ReadMissingSettings();
    bool InternalOpenConnection(const Progress& progress);
    bool MoveFiles(const std::wstring& from, const std::wstring& to, bool receiving,
                   const Progress& progress);

    bool SupressMsg = false;
    FtpConnection m_connection;
    std::wstring m_sLocalSendFolder;
    std::wstring m_sLocalReceiveFolder;
    std::wstring m_sRemoteSendFolder;
    std::wstring m_sRemoteReceiveFolder;
    bool m_bMobile = false;
    bool m_bSettingsProcessed = false;
    std::wstring m_sApplicationName;
    FolderLocator m_folderLocator;
    FtpAdministration m_administration;
};
