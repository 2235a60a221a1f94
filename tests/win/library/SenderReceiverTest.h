// Base of the tests of sender/receivers: their members with results as C++ values, before scratch folders.
#pragma once

#include "base/Handle.h"
#include "com/Object.h"
#include "common/modMain.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/ProgressDouble.h"

namespace tests {

class SenderReceiverTest : public PartTest {
protected:
    using Values = std::vector<std::pair<std::wstring, std::wstring>>;

    SenderReceiverTest() { Main(); }

    void Use(ComPtr<IZNSenderReceiver> object) {
        remote = std::move(object);
        remote.As(&remote2);
        remote.As(&admin);
    }
    void NameApplication() { remote2->put_ApplicationName(In(L"App")); }
    void PropSet(const Values& values) { remote2->putref_PropSet(Properties(values).Get()); }
    std::wstring PropSet() {
        ComPtr<IZNPropertySet> set;
        EXPECT_EQ(remote2->get_PropSet(&set), S_OK);
        return PropertiesAsText(set.Get());
    }
    void Init(const Values& values) {
        EXPECT_TRUE(Ask<bool>(&IZNSenderReceiver::Init, remote, Properties(values).Get()));
    }
    void SendFrom(const std::wstring& folder) { remote->put_LocalSendFolder(In(folder)); }
    void ReceiveInto(const std::wstring& folder) { remote->put_LocalReceiveFolder(In(folder)); }
    bool Connect() { return Ask<bool>(&IZNSenderReceiver::Connect, remote); }
    bool Disconnect() { return Ask<bool>(&IZNSenderReceiver::Disconnect, remote); }
    bool Send(IUnknown* object) { return Ask<bool>(&IZNSenderReceiver::Send, remote, L"unused", object); }
    bool Send() { return Send(Progress()); }
    bool Receive(const wchar_t* folder = L"") {
        return Ask<bool>(&IZNSenderReceiver::Receive, remote, folder, Progress());
    }
    ComPtr<IUnknown> Initialize(IUnknown* context) {
        ComPtr<IUnknown> result;
        EXPECT_EQ(admin->Initialize(3, context, &result), S_OK);
        return result;
    }
    ComPtr<IUnknown> Execute() {
        ComPtr<IUnknown> result;
        EXPECT_EQ(admin->Execute(3, &result), S_OK);
        return result;
    }

    ComPtr<IZNSenderReceiver> remote;
    ComPtr<IZNSenderReceiver2> remote2;
    ComPtr<IZNMobileAdminProperties> admin;
    ComPtr<ProgressDouble> progress = com::Make<ProgressDouble>();

private:
    IUnknown* Progress() { return static_cast<IZNProgress*>(progress.Get()); }
};

}  // namespace tests
