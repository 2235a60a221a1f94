// An FTP sender/receiver of this program, before a scripted server.
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "common/modMain.h"
#include "sendrecv/clsFTPSndRcv.h"
#include "tests/win/library/SenderReceiverTest.h"
#include "tests/win/support/Dll.h"
#include "tests/win/support/FtpScript.h"

namespace tests {

/// The library's own code in this program, between the framework's stand-ins and a scripted server.
class FtpLibraryTest : public testing::Test {
protected:
    FtpLibraryTest() { Main(); }

    ComApartment apartment;
    Framework framework;
    FtpScript server;
};

class FtpTest : public FtpLibraryTest, protected SenderReceiverTest {
protected:
    FtpTest() { Renew(); }

    void Renew() { Use(com::Make<clsFTPSndRcv>()); }
    void SuppressMessages() {
        Microsoft::WRL::ComPtr<_clsFTPSndRcv> script;
        remote.As(&script);
        script->put_SupressMsg(VARIANT_TRUE);
    }
    /// A login, remote folders "in" and "out", and local ones below the scratch folder.
    void Configure() {
        Init({{L"FTPServer", L"host"},
              {L"FTPUser", L"joe"},
              {L"FTPPassword", L"secret"},
              {L"RemoteSendFolder", L"in"},
              {L"RemoteReceiveFolder", L"out"}});
        SendFrom(temp.Folder(L"send"));
        ReceiveInto(temp.Folder(L"receive"));
    }
    /// These begin where a new connection does.
    bool Send() {
        server.currentFolder = "/";
        return SenderReceiverTest::Send();
    }
    bool Receive(const wchar_t* folder = L"") {
        server.currentFolder = "/";
        return SenderReceiverTest::Receive(folder);
    }
    bool LoginCancelled() { return com::Get<bool>(&IZNSenderReceiver::get_LoginCancelled, remote.Get()); }
    /// What was reported since the last call, without the tool's name; empty when nothing was.
    std::wstring Reported() {
        std::wstring text;
        for (const LogEntry& entry : std::exchange(framework.log, {}))
            text += entry.text.substr(std::wstring(L"Test Tool:\r\n").size());
        return text;
    }
    /// What a member of the class reports.
    template <class... Texts>
    static std::wstring Report(const std::wstring& member, const Texts&... lines) {
        return Lines(L"clsFTPSndRcv.cls." + member, lines...);
    }
};

}  // namespace tests
