// What every sender/receiver is: the binary contract of the sender/receiver, administration and category
// interfaces, and the folders and settings that all of them have, over a few members that state the
// sender/receiver's own behaviour.
#pragma once

#include <wrl/client.h>

#include <string>

#include "common/Report.h"
#include "common/modMain.h"
#include "services/Component.h"
#include "services/FolderLocator.h"
#include "services/PropertySet.h"

/// DefaultInterface: the dual interface that scripts reach the sender/receiver by. Others: interfaces that
/// not every sender/receiver has.
template <class DefaultInterface, class... Others>
class SenderReceiver : public Component<DefaultInterface, IZNSenderReceiver, IZNSenderReceiver2, Others...> {
public:
    // IZNSenderReceiver
    STDMETHODIMP get_LocalSendFolder(BSTR* Value) final { return com::Return(Value, m_sLocalSendFolder); }
    STDMETHODIMP put_LocalSendFolder(BSTR Value) final {
        return com::Call([&] {
            StoreTestedFolder(m_sLocalSendFolder, com::Text(Value), L"IZNSenderReceiver_LocalSendFolder");
        });
    }
    STDMETHODIMP get_LocalReceiveFolder(BSTR* Value) final {
        return com::Return(Value, m_sLocalReceiveFolder);
    }
    STDMETHODIMP put_LocalReceiveFolder(BSTR Value) final {
        return com::Call([&] {
            StoreTestedFolder(m_sLocalReceiveFolder, com::Text(Value),
                              L"IZNSenderReceiver_LocalReceiveFolder");
        });
    }
    STDMETHODIMP Init(IZNPropertySet* Settings, VARIANT_BOOL* Success) final {
        return com::Return(Success, [&] { return IZNSenderReceiver_Init(Settings); });
    }
    // IZNSenderReceiver and IZNSenderReceiver2
    STDMETHODIMP Send(BSTR, IUnknown* Progress, VARIANT_BOOL* Success) final {
        return com::Return(Success, [&] { return IZNSenderReceiver_Send(Progress); });
    }
    STDMETHODIMP Receive(BSTR FolderName, IUnknown* Progress, VARIANT_BOOL* Success) final {
        return com::Return(Success,
                           [&] { return IZNSenderReceiver_Receive(com::Text(FolderName), Progress); });
    }
    // IZNSenderReceiver2
    STDMETHODIMP get_PropSet(IZNPropertySet** Value) final {
        return com::Return(Value, [&] { return IZNSenderReceiver2_PropSet(); });
    }
    STDMETHODIMP putref_PropSet(IZNPropertySet* Value) final {
        return com::Call([&] { IZNSenderReceiver2_PropSet(Value); });
    }
    STDMETHODIMP get_ApplicationName(BSTR* Value) final { return com::Return(Value, m_sApplicationName); }
    STDMETHODIMP put_ApplicationName(BSTR Value) final {
        return com::Call([&] { IZNSenderReceiver2_ApplicationName(com::Text(Value)); });
    }

protected:
    /// className: for error sources.
    explicit SenderReceiver(std::wstring className)
        : Base(std::move(className), ZN_CATEGORY_SENDER_RECEIVER) {}

    /// One setting of Init; names that nobody knows are ignored.
    virtual void TakeSetting(const std::wstring& name, const com::Variant& value) {
        if (name == L"RemoteReceiveFolder") m_sRemoteReceiveFolder = value.Text();
        if (name == L"RemoteSendFolder") m_sRemoteSendFolder = value.Text();
    }
    virtual bool IZNSenderReceiver_Send(IUnknown* ProgressObject) = 0;
    virtual bool IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) = 0;
    virtual Microsoft::WRL::ComPtr<IZNPropertySet> IZNSenderReceiver2_PropSet() = 0;
    virtual void IZNSenderReceiver2_PropSet(IZNPropertySet* Settings) = 0;

    bool SupressMsg = false;
    std::wstring m_sLocalSendFolder;
    std::wstring m_sLocalReceiveFolder;
    std::wstring m_sRemoteSendFolder;
    std::wstring m_sRemoteReceiveFolder;
    bool m_bMobile = false;
    FolderLocator m_folderLocator;

private:
    using Base = Component<DefaultInterface, IZNSenderReceiver, IZNSenderReceiver2, Others...>;

    bool IZNSenderReceiver_Init(IZNPropertySet* Settings) {
        return this->Member(L"IZNSenderReceiver_Init").Guard(false, [&] {
            for (const auto& [name, value] : AllProperties(Settings))
                TakeSetting(name, value);
            return true;
        });
    }
    void IZNSenderReceiver2_ApplicationName(const std::wstring& Name) {
        this->Member(L"IZNSenderReceiver2_ApplicationName").Guard([&] {
            m_sApplicationName = Name;
            m_folderLocator.Open(Name);
        });
    }

    /// A folder that cannot be read and written is reported, and stored all the same.
    void StoreTestedFolder(std::wstring& folder, const std::wstring& value, const wchar_t* member) {
        this->Member(member).Guard([&] {
            folder = value;
            CheckReadWriteDelete(value, SupressMsg);
        });
    }

    std::wstring m_sApplicationName;
};
