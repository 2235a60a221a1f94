// Sender/receiver whose remote side is another folder: a share or a removable disk.
#pragma once

#include <wrl/client.h>

#include <cstdint>
#include <string>

#include "sendrecv/Progress.h"
#include "sendrecv/SenderReceiver.h"

class clsXCOPYSndRcv final : public SenderReceiver<_clsXCOPYSndRcv, IZNMobileAdminPropertiesEx> {
public:
    clsXCOPYSndRcv();

    // IZNSenderReceiver
    STDMETHODIMP get_LoginCancelled(VARIANT_BOOL* Value) override;
    STDMETHODIMP put_LoginCancelled(VARIANT_BOOL Value) override;
    // IZNSenderReceiver and IZNSenderReceiver2
    STDMETHODIMP Connect(VARIANT_BOOL* Success) override;
    STDMETHODIMP Disconnect(VARIANT_BOOL* Success) override;
    // IZNMobileAdminPropertiesEx
    STDMETHODIMP get_RequireBothEnterpriseAndField(VARIANT_BOOL* Value) override;

private:
    bool IZNSenderReceiver_Send(IUnknown* ProgressObject) override;
    bool IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) override;
    void IZNSenderReceiver2_PropSet(IZNPropertySet* Settings) override;
    Microsoft::WRL::ComPtr<IZNPropertySet> IZNSenderReceiver2_PropSet() override;
    std::wstring DisplayName() override;

    bool Transfer(const std::wstring& source, const std::wstring& from, const std::wstring& to,
                  const Progress& progress);
    bool MoveFiles(const std::wstring& Source, const std::wstring& Destination, const Progress& progress);
    bool PrepareFolders(const std::wstring& source, const std::wstring& destination) const;
    void MoveOneFile(const std::wstring& file, std::uint64_t size, const std::wstring& destination,
                     const Progress& progress) const;
};
