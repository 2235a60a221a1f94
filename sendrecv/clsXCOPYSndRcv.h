// Sender/receiver whose remote side is another folder: a share or a removable disk.
#pragma once

#include <wrl/client.h>

#include <string>

#include "com/Object.h"
#include "com/Text.h"
#include "common/FolderLocator.h"
#include "sendrecv/CommonSettings.h"
#include "sendrecv/Progress.h"
#include "znTransporter.h"

class clsXCOPYSndRcv final
    : public com::Object<com::Dual<_clsXCOPYSndRcv>, IZNSenderReceiver, IZNSenderReceiver2,
                         IZNMobileAdminProperties, IZNMobileAdminPropertiesEx, IZNRegInCat> {
public:
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
    get_LoginCancelled(VARIANT_BOOL* Value) override;
    STDMETHODIMP
    put_LoginCancelled(VARIANT_BOOL Value) override;
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
    // IZNMobileAdminPropertiesEx
    STDMETHODIMP
    get_RequireBothEnterpriseAndField(VARIANT_BOOL* Value) override;
    // IZNRegInCat
    STDMETHODIMP
    get_CategoriesToReg(VARIANT* Value) override;

private:
    bool IZNSenderReceiver_Init(IZNPropertySet* Settings);
    bool IZNSenderReceiver_Send(IUnknown* ProgressObject);
    bool IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject);
    void IZNSenderReceiver2_PropSet(IZNPropertySet* Settings);
    Microsoft::WRL::ComPtr<IZNPropertySet> IZNSenderReceiver2_PropSet();
    void IZNSenderReceiver2_ApplicationName(const std::wstring& Name);
    std::wstring IZNMobileAdminProperties_Name();
    com::Variant IZNRegInCat_CategoriesToReg();

    bool Transfer(const std::wstring& source, const std::wstring& from, const std::wstring& to,
                  const Progress& progress);
    bool MoveFiles(const std::wstring& Source, const std::wstring& Destination, const Progress& progress);
    bool PrepareFolders(const std::wstring& source, const std::wstring& destination) const;
    void MoveOneFile(const std::wstring& file, std::uint64_t size, const std::wstring& destination,
                     const Progress& progress) const;

    const bool SupressMsg = false;
    std::wstring m_sLocalSendFolder;
    std::wstring m_sLocalReceiveFolder;
    std::wstring m_sRemoteSendFolder;
    std::wstring m_sRemoteReceiveFolder;
    Microsoft::WRL::ComPtr<IZNPropertySet> m_settings;
    bool m_bMobile = false;
    std::wstring m_sApplicationName;
    FolderLocator m_folderLocator;
};
