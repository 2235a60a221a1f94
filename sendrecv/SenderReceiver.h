// What every sender/receiver is: the binary contract of the sender/receiver, administration and category
// interfaces, and the folders and settings that all of them have, over a few members that state the
// sender/receiver's own behaviour.
#pragma once

#include <wrl/client.h>

#include <string>

#include "base/RollBack.h"
#include "common/modMain.h"
#include "services/Component.h"
#include "services/FolderLocator.h"
#include "services/HostProgress.h"
#include "services/PropertySet.h"
#include "services/ScriptMember.h"

/// ScriptInterface: the com::Dual that scripts reach the sender/receiver by. Others: interfaces that not
/// every sender/receiver has.
template <class ScriptInterface, class... Others>
class SenderReceiver : public Component<ScriptInterface, IZNSenderReceiver, IZNSenderReceiver2, Others...> {
public:
    // What scripts reach of every sender/receiver
    STDMETHODIMP get_SendFolder(BSTR* Value) final { return com::Return(Value, m_sLocalSendFolder); }
    STDMETHODIMP put_SendFolder(BSTR Value) final { return StoreScriptPath(m_sLocalSendFolder, Value); }
    STDMETHODIMP get_ReceiveFolder(BSTR* Value) final { return com::Return(Value, m_sLocalReceiveFolder); }
    STDMETHODIMP put_ReceiveFolder(BSTR Value) final { return StoreScriptPath(m_sLocalReceiveFolder, Value); }
    STDMETHODIMP get_RemoteSendFolder(BSTR* Value) final { return com::Return(Value, m_sRemoteSendFolder); }
    STDMETHODIMP get_RemoteReceiveFolder(BSTR* Value) final {
        return com::Return(Value, m_sRemoteReceiveFolder);
    }
    // IZNSenderReceiver
    STDMETHODIMP get_LocalSendFolder(BSTR* Value) final { return com::Return(Value, m_sLocalSendFolder); }
    STDMETHODIMP put_LocalSendFolder(BSTR Value) final {
        return StoreTestedFolder(m_sLocalSendFolder, Value, L"IZNSenderReceiver_LocalSendFolder");
    }
    STDMETHODIMP get_LocalReceiveFolder(BSTR* Value) final {
        return com::Return(Value, m_sLocalReceiveFolder);
    }
    STDMETHODIMP put_LocalReceiveFolder(BSTR Value) final {
        return StoreTestedFolder(m_sLocalReceiveFolder, Value, L"IZNSenderReceiver_LocalReceiveFolder");
    }
    STDMETHODIMP Init(IZNPropertySet* Settings, VARIANT_BOOL* Success) final {
        return com::Return(Success, [&] {
            return this->Member(L"IZNSenderReceiver_Init").Guard(false, [&] {
                for (const auto& [name, value] : AllProperties(Settings))
                    TakeSetting(name, value);
                return true;
            });
        });
    }
    // IZNSenderReceiver and IZNSenderReceiver2
    STDMETHODIMP Send(BSTR, IUnknown* Progress, VARIANT_BOOL* Success) final {
        return com::Return(Success, [&] { return IZNSenderReceiver_Send(Progress); });
    }
    STDMETHODIMP Receive(BSTR FolderName, IUnknown* Progress, VARIANT_BOOL* Success) final {
        return com::Return(Success,
                           [&] { return IZNSenderReceiver_Receive(com::Text(FolderName), Progress); });
    }
    // IZNSenderReceiver2; scripts reach some by the name of the application, too
    STDMETHODIMP get_PropSet(IZNPropertySet** Value) final {
        return com::Return(Value, [&] {
            using Set = Microsoft::WRL::ComPtr<IZNPropertySet>;
            return this->Member(L"IZNSenderReceiver2_PropSet").Guard(Set(), [&] {
                auto properties = NewPropertySet({});
                WriteSettings(properties.Get());
                return properties;
            });
        });
    }
    STDMETHODIMP putref_PropSet(IZNPropertySet* Value) final {
        return com::Call([&] {
            this->Member(L"IZNSenderReceiver2_PropSet").Guard([&] {
                m_bMobile = IsMobile(Value);
                ReadSettings(Value);
            });
        });
    }
    STDMETHODIMP get_ApplicationName(BSTR* Value) final { return com::Return(Value, m_sApplicationName); }
    STDMETHODIMP put_ApplicationName(BSTR Value) final {
        return com::Call([&] {
            this->Member(L"IZNSenderReceiver2_ApplicationName").Guard([&] {
                m_sApplicationName = com::Text(Value);
                m_folderLocator.Open(m_sApplicationName);
            });
        });
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
    /// The settings of PropSet, of which this one takes the local folders. Throws a failure.
    virtual void ReadSettings(IZNPropertySet* settings) {
        m_sLocalSendFolder = FolderSetting(settings, L"LOCAL_SEND_FOLDER", !m_bMobile, L"Outgoing");
        m_sLocalReceiveFolder = FolderSetting(settings, L"LOCAL_RECEIVE_FOLDER", !m_bMobile, L"Incoming");
    }
    virtual void WriteSettings(IZNPropertySet* settings) const {
        SetProperty(settings, L"MOBILE", m_bMobile ? L"TRUE" : L"FALSE");
        SetProperty(settings, L"LOCAL_SEND_FOLDER", m_sLocalSendFolder);
        SetProperty(settings, L"LOCAL_RECEIVE_FOLDER", m_sLocalReceiveFolder);
    }
    /// A folder, or the framework's default for it: the folder of a kind, of the enterprise or of the field.
    std::wstring FolderSetting(IZNPropertySet* settings, const wchar_t* name, bool enterprise,
                               const wchar_t* kind) const {
        return GetProperty(settings, name, m_folderLocator.FolderPath(enterprise, kind));
    }

    /// Hosts call in while their messages are processed. A transfer inside a transfer would begin in whatever
    /// remote folder that one is in, or put its newer packets below those of that one.
    template <class Call>
    bool Exclusively(const Procedure& self, Call&& call) {
        if (m_working)
            return self.Fail(L"This sender/receiver is connecting, sending or receiving already. Call again "
                             L"when that call has returned.");
        m_working = true;
        const base::RollBack end([this] { m_working = false; });
        return call();
    }
    bool IsWorking() const noexcept { return m_working; }

    /// Unlike hosts, scripts name folders before these are there.
    static HRESULT StoreScriptPath(std::wstring& folder, BSTR value) {
        return com::Call([&] { folder = ScriptPath(com::Text(value)); });
    }

    virtual bool IZNSenderReceiver_Send(IUnknown* ProgressObject) = 0;
    virtual bool IZNSenderReceiver_Receive(const std::wstring& FolderName, IUnknown* ProgressObject) = 0;

    bool SupressMsg = false;
    std::wstring m_sLocalSendFolder;
    std::wstring m_sLocalReceiveFolder;
    std::wstring m_sRemoteSendFolder;
    std::wstring m_sRemoteReceiveFolder;
    bool m_bMobile = false;
    FolderLocator m_folderLocator;

private:
    using Base = Component<ScriptInterface, IZNSenderReceiver, IZNSenderReceiver2, Others...>;

    /// A folder that cannot be read and written is reported, and stored all the same.
    HRESULT StoreTestedFolder(std::wstring& folder, BSTR value, const wchar_t* member) {
        return com::Call([&] {
            this->Member(member).Guard([&] {
                folder = com::Text(value);
                CheckReadWriteDelete(folder, SupressMsg);
            });
        });
    }

    std::wstring m_sApplicationName;
    bool m_working = false;
};
