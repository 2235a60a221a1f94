// An FTP sender/receiver of this program, before a scripted server.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "common/modMain.h"
#include "sendrecv/clsFTPSndRcv.h"
#include "tests/win/support/FtpScript.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/ProgressDouble.h"
#include "tests/win/support/TempFolder.h"

namespace tests {

class FtpTest : public testing::Test {
protected:
    FtpTest() {
        Main();
        remote = com::Make<clsFTPSndRcv>();
        remote.As(&settings);
    }

    using Values = std::vector<std::pair<std::wstring, std::wstring>>;
    void Init(const Values& values) {
        EXPECT_TRUE(com::Get<bool>(&IZNSenderReceiver::Init, remote.Get(), Properties(values).Get()));
    }
    /// A login, remote folders "in" and "out", and local ones below the scratch folder.
    void Configure() {
        Init({{L"FTPServer", L"host"},
              {L"FTPUser", L"joe"},
              {L"FTPPassword", L"secret"},
              {L"RemoteSendFolder", L"in"},
              {L"RemoteReceiveFolder", L"out"}});
        remote->put_LocalSendFolder(com::Bstr(temp.Folder(L"send")).Get());
        remote->put_LocalReceiveFolder(com::Bstr(temp.Folder(L"receive")).Get());
    }
    bool Send() {
        return com::Get<bool>(&IZNSenderReceiver::Send, remote.Get(), com::Bstr(L"unused").Get(), Host());
    }
    bool Receive(const wchar_t* folder = L"") {
        return com::Get<bool>(&IZNSenderReceiver::Receive, remote.Get(), com::Bstr(folder).Get(), Host());
    }
    bool Connect() { return com::Get<bool>(&IZNSenderReceiver::Connect, remote.Get()); }
    bool Disconnect() { return com::Get<bool>(&IZNSenderReceiver::Disconnect, remote.Get()); }
    std::wstring Settings() {
        Microsoft::WRL::ComPtr<IZNPropertySet> set;
        EXPECT_EQ(settings->get_PropSet(&set), S_OK);
        return PropertiesAsText(set.Get());
    }
    /// What was reported since the last call, without the tool's name; empty when nothing was.
    std::wstring Reported() {
        std::wstring text;
        for (const LogEntry& entry : std::exchange(framework.log, {}))
            text += entry.text.substr(std::wstring(L"Test Tool:\r\n").size());
        return text;
    }
    std::string Calls() { return std::exchange(server.transcript, {}); }

    ComApartment apartment;
    Framework framework;
    FtpScript server;
    TempFolder temp;
    Microsoft::WRL::ComPtr<IZNSenderReceiver> remote;
    Microsoft::WRL::ComPtr<IZNSenderReceiver2> settings;
    Microsoft::WRL::ComPtr<ProgressDouble> progress = com::Make<ProgressDouble>();

private:
    IUnknown* Host() { return static_cast<IZNProgress*>(progress.Get()); }
};

}  // namespace tests
