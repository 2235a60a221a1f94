// Sender/receiver whose remote side is another folder: a share or a removable disk.
#pragma once

#include <cstdint>
#include <string>

#include "packets/GoneFile.h"
#include "sendrecv/SenderReceiver.h"

class clsXCOPYSndRcv final : public SenderReceiver<com::Dual<_clsXCOPYSndRcv>, IZNMobileAdminPropertiesEx> {
public:
    clsXCOPYSndRcv() : SenderReceiver(L"clsXCOPYSndRcv") {}

    // _clsXCOPYSndRcv
    STDMETHODIMP put_RemoteSendFolder(BSTR Value) override {
        return StoreScriptPath(m_sRemoteSendFolder, Value);
    }
    STDMETHODIMP put_RemoteReceiveFolder(BSTR Value) override {
        return StoreScriptPath(m_sRemoteReceiveFolder, Value);
    }
    // IZNSenderReceiver
    STDMETHODIMP get_LoginCancelled(VARIANT_BOOL* Value) override { return com::Return(Value, false); }
    STDMETHODIMP put_LoginCancelled(VARIANT_BOOL) override { return S_OK; }
    // IZNSenderReceiver and IZNSenderReceiver2
    STDMETHODIMP Connect(VARIANT_BOOL* Success) override { return com::Return(Success, true); }
    STDMETHODIMP Disconnect(VARIANT_BOOL* Success) override { return com::Return(Success, true); }
    // IZNMobileAdminPropertiesEx
    STDMETHODIMP get_RequireBothEnterpriseAndField(VARIANT_BOOL* Value) override {
        return com::Return(Value, true);
    }

private:
    void ReadSettings(IZNPropertySet* settings) override;
    void WriteSettings(IZNPropertySet* settings) const override;
    bool IZNSenderReceiver_Send(IUnknown* ProgressObject) override;
    bool IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) override;
    std::wstring DisplayName() override;

    bool SendFiles(const std::wstring& from, const std::wstring& to, const HostProgress& progress) const;
    /// toCome: nothing where others may take files of the source: of a share several computers may receive.
    bool MoveFiles(const std::wstring& Source, const std::wstring& Destination, FilesToCome* toCome,
                   const HostProgress& progress) const;
    bool PrepareFolders(const std::wstring& source, const std::wstring& destination) const;
};
