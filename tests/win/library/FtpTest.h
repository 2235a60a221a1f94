// An FTP sender/receiver of this program, before a scripted server.
#pragma once

#include "sendrecv/clsFTPSndRcv.h"
#include "tests/win/library/SenderReceiverTest.h"
#include "tests/win/support/FtpScript.h"

namespace tests {

class FtpTest : public SenderReceiverTest {
protected:
    FtpTest() { Renew(); }

    void Renew() { Use(com::Make<clsFTPSndRcv>()); }
    void SuppressMessages() {
        ComPtr<_clsFTPSndRcv> script;
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
    bool LoginCancelled() { return Ask<bool>(&IZNSenderReceiver::get_LoginCancelled, remote); }
    /// What is reported about an action that fails.
    std::vector<LogEntry> ReportsOf(bool result) {
        EXPECT_FALSE(result);
        return framework.TakeLog();
    }
    // Both begin where a new connection does.
    std::vector<LogEntry> FailToSend() { return ReportsOf(Send()); }
    std::vector<LogEntry> FailToReceive(const wchar_t* folder = L"") { return ReportsOf(Receive(folder)); }
    bool Send() {
        server.currentFolder = server.home;
        return SenderReceiverTest::Send();
    }
    bool Receive(const wchar_t* folder = L"") {
        server.currentFolder = server.home;
        return SenderReceiverTest::Receive(folder);
    }
    std::vector<LogEntry> FailToConnect() { return ReportsOf(Connect()); }

    FtpScript server;
};

/// A log that holds one report of a member of the class.
inline testing::Matcher<std::vector<LogEntry>> OneFtpReport(const std::wstring& member,
                                                            const std::wstring& text) {
    return OneReport(L"clsFTPSndRcv.cls." + member, text);
}

}  // namespace tests
