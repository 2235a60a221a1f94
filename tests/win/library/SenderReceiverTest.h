// A sender/receiver under test: its members with results as C++ values, before scratch folders.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/Handle.h"
#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "tests/win/support/FrameworkDoubles.h"
#include "tests/win/support/ProgressDouble.h"
#include "tests/win/support/TempFolder.h"
#include "znTransporter.h"

namespace tests {

/// A file that somebody has open meanwhile.
inline base::FileHandle Held(const std::wstring& path, DWORD access, DWORD share) {
    base::FileHandle file(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(file);
    return file;
}

/// A base beside the one that holds the apartment, which comes first.
class SenderReceiverTest {
protected:
    using Settings = std::vector<std::pair<std::wstring, std::wstring>>;

    void Use(Microsoft::WRL::ComPtr<IZNSenderReceiver> object) {
        remote = std::move(object);
        remote.As(&remote2);
        remote.As(&admin);
    }
    void NameApplication() { remote2->put_ApplicationName(com::Bstr(L"App").Get()); }
    void PropSet(const Settings& values) { remote2->putref_PropSet(Properties(values).Get()); }
    std::wstring PropSet() {
        Microsoft::WRL::ComPtr<IZNPropertySet> set;
        EXPECT_EQ(remote2->get_PropSet(&set), S_OK);
        return PropertiesAsText(set.Get());
    }
    void Init(const Settings& values) {
        EXPECT_TRUE(com::Get<bool>(&IZNSenderReceiver::Init, remote.Get(), Properties(values).Get()));
    }
    void SendFrom(const std::wstring& folder) { remote->put_LocalSendFolder(com::Bstr(folder).Get()); }
    void ReceiveInto(const std::wstring& folder) { remote->put_LocalReceiveFolder(com::Bstr(folder).Get()); }
    bool Connect() { return com::Get<bool>(&IZNSenderReceiver::Connect, remote.Get()); }
    bool Disconnect() { return com::Get<bool>(&IZNSenderReceiver::Disconnect, remote.Get()); }
    bool Send(IUnknown* object) {
        return com::Get<bool>(&IZNSenderReceiver::Send, remote.Get(), com::Bstr(L"unused").Get(), object);
    }
    bool Send() { return Send(Progress()); }
    bool Receive(const wchar_t* folder = L"") {
        return com::Get<bool>(&IZNSenderReceiver::Receive, remote.Get(), com::Bstr(folder).Get(), Progress());
    }

    std::wstring Name() { return com::Get<std::wstring>(&IZNMobileAdminProperties::get_Name, admin.Get()); }
    bool HasProperties() { return com::Get<bool>(&IZNMobileAdminProperties::get_HasProperties, admin.Get()); }
    Microsoft::WRL::ComPtr<IUnknown> Initialize(IUnknown* context) {
        Microsoft::WRL::ComPtr<IUnknown> result;
        EXPECT_EQ(admin->Initialize(3, context, &result), S_OK);
        return result;
    }
    Microsoft::WRL::ComPtr<IUnknown> Execute() {
        Microsoft::WRL::ComPtr<IUnknown> result;
        EXPECT_EQ(admin->Execute(3, &result), S_OK);
        return result;
    }
    std::wstring Category() { return CategoryOf(remote.Get()); }

    TempFolder temp;
    Microsoft::WRL::ComPtr<IZNSenderReceiver> remote;
    Microsoft::WRL::ComPtr<IZNSenderReceiver2> remote2;
    Microsoft::WRL::ComPtr<IZNMobileAdminProperties> admin;
    Microsoft::WRL::ComPtr<ProgressDouble> progress = com::Make<ProgressDouble>();

private:
    IUnknown* Progress() { return static_cast<IZNProgress*>(progress.Get()); }
};

}  // namespace tests
