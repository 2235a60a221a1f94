// The FTP sender/receiver against a bare loop of the same WinINet calls, in turns on the same server.
// ftp_bench ADDRESS USER PASSWORD LOG: the server has a folder "packets"; LOG is its log of all commands.
#include <filesystem>
#include <fstream>

#include "base/Text.h"
#include "bench/Bench.h"
#include "bench/Row.h"
#include "bench/Transfers.h"
#include "com/Object.h"
#include "common/modWinInet.h"
#include "sendrecv/clsFTPSndRcv.h"
#include "tests/win/support/FtpScript.h"

using bench::Fail;
using bench::Load;
using tests::Ask;
using tests::ComPtr;

namespace {

std::vector<std::pair<std::wstring, std::wstring>> SettingsOf(const std::wstring& address,
                                                              const std::wstring& user,
                                                              const std::wstring& password,
                                                              const wchar_t* folder) {
    return {{L"FTPServer", address},
            {L"FTPUser", user},
            {L"FTPPassword", password},
            {L"RemoteSendFolder", folder},
            {L"RemoteReceiveFolder", folder}};
}

struct Site {
    std::string address, user, password;
    std::filesystem::path log;

    auto Settings(const wchar_t* folder) const {
        const auto wide = [](const std::string& text) { return base::FromSystemCodePage(text); };
        return SettingsOf(wide(address), wide(user), wide(password), folder);
    }

    int CommandsSoFar() const {
        std::ifstream file(log);
        int count = 0;
        for (std::string line; std::getline(file, line);)
            if (line.find("FTP command:") != std::string::npos) ++count;
        return count;
    }
};

class BareLoop final : public bench::Contender {
public:
    explicit BareLoop(const Site& site)
        : m_internet(InternetOpenA("bench", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0)),
          m_ftp(InternetConnectA(m_internet, site.address.c_str(), INTERNET_INVALID_PORT_NUMBER,
                                 site.user.c_str(), site.password.c_str(), INTERNET_SERVICE_FTP, 0, 0)) {
        if (!m_ftp) Fail("no connection");
    }
    BareLoop(const BareLoop&) = delete;
    BareLoop& operator=(const BareLoop&) = delete;
    ~BareLoop() override {
        InternetCloseHandle(m_ftp);
        InternetCloseHandle(m_internet);
    }

    void Send(const std::wstring& from) override {
        Enter("packets");
        SendFolder(from, "BENCH");
        Enter("..");
    }
    void Receive(const std::wstring& to) override {
        Enter("packets");
        ReceiveFolder("BENCH", to);
        Enter("..");
    }

private:
    void Enter(const std::string& folder) {
        if (!FtpSetCurrentDirectoryA(m_ftp, folder.c_str())) Fail("FtpSetCurrentDirectoryA");
    }

    void SendFolder(const std::filesystem::path& from, const std::string& name) {
        if (!FtpSetCurrentDirectoryA(m_ftp, name.c_str())) {
            if (!FtpCreateDirectoryA(m_ftp, name.c_str())) Fail("FtpCreateDirectoryA");
            Enter(name);
        }
        std::vector<std::filesystem::path> folders;
        for (const auto& entry : std::filesystem::directory_iterator(from))
            entry.is_directory() ? folders.push_back(entry.path()) : SendFile(entry.path());
        for (const auto& folder : folders)
            SendFolder(folder, folder.filename().string());
        Enter("..");
    }

    void SendFile(const std::filesystem::path& file) {
        const std::string name = file.filename().string();
        if (!FtpPutFileA(m_ftp, file.string().c_str(), name.c_str(), 0, 0)) Fail("FtpPutFileA");
        WIN32_FIND_DATAA found;
        const HINTERNET find = FtpFindFirstFileA(m_ftp, name.c_str(), &found, 0, 0);
        if (!find) Fail("FtpFindFirstFileA");
        InternetCloseHandle(find);
        if (!DeleteFileW(file.c_str())) Fail("DeleteFileW");
    }

    void ReceiveFolder(const std::string& name, const std::filesystem::path& to) {
        std::filesystem::create_directories(to);
        Enter(name);
        std::vector<std::string> files;
        std::vector<std::string> folders;
        WIN32_FIND_DATAA found;
        if (const HINTERNET find = FtpFindFirstFileA(m_ftp, "*.*", &found, 0, 0)) {
            do
                (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY ? folders : files)
                    .push_back(found.cFileName);
            while (InternetFindNextFileA(find, &found));
            InternetCloseHandle(find);
        }
        for (const std::string& file : files) {
            if (!FtpGetFileA(m_ftp, file.c_str(), (to / file).string().c_str(), FALSE, 0, 0, 0))
                Fail("FtpGetFileA");
            if (!FtpDeleteFileA(m_ftp, file.c_str())) Fail("FtpDeleteFileA");
        }
        for (const std::string& folder : folders)
            ReceiveFolder(folder, to / folder);
        Enter("..");
    }

    HINTERNET m_internet;
    HINTERNET m_ftp;
};

// Of the bare loop: as much as a bare loop varies from run to run.
constexpr double kLimit = 1.1;
// For a folder of 50: what a transfer needs once counts, too.
constexpr double kMostCallsToSend = 2.5;
constexpr double kMostCallsToReceive = 7.2;

/// What the library asks of WinINet for each packet of a folder, of whatever length. A look at one name is
/// one call, for which Wine reads the whole list.
void CountCalls(int files) {
    tests::FtpScript server;
    server.tellsStatus = true;
    server.folders.insert("/packets");
    const tests::TempFolder temp;
    bench::WriteFiles(temp.Folder(L"from"), files, 1);
    const ComPtr<IZNSenderReceiver> remote = com::Make<clsFTPSndRcv>();
    const auto settings = tests::Properties(SettingsOf(L"scripted", L"joe", L"secret", L"packets"));
    Ask<bool>(&IZNSenderReceiver::Init, remote, settings.Get());
    remote->put_LocalSendFolder(tests::In(temp / L"from"));
    remote->put_LocalReceiveFolder(tests::In(temp.Folder(L"to")));
    const auto callsOf = [&](auto member) {
        const int before = server.calls;
        if (!Ask<bool>(member, remote, L"", static_cast<IUnknown*>(nullptr)))
            Fail("the scripted transfer failed");
        return static_cast<double>(server.calls - before) / files;
    };
    const std::string where = " of " + std::to_string(files) + " in a folder";
    bench::PrintRow(("FTP, WinINet calls to send a packet" + where).c_str(), "calls",
                    callsOf(&IZNSenderReceiver::Send), kMostCallsToSend);
    for (const auto& [path, content] : server.files)
        server.lastWrites[path] = "20260117120000";
    bench::PrintRow(("FTP, WinINet calls to receive a packet" + where).c_str(), "calls",
                    callsOf(&IZNSenderReceiver::Receive), kMostCallsToReceive);
}

void Print(const Load& load, const std::string& direction, const bench::Cost& library,
           const bench::Cost& bare) {
    const std::string figure = "FTP, " + direction + " " + load.name;
    bench::PrintRow(figure.c_str(), "s", library.seconds, {"bare loop of WinINet", bare.seconds, kLimit});
    bench::PrintRow((figure + ", commands per file").c_str(), "commands", library.countedPerFile,
                    {"bare loop of WinINet", bare.countedPerFile});
}

void Compare(const Site& site, const Load& load, bench::Contender& library, bench::Contender& bare) {
    const auto [ours, theirs] = bench::Race(load, library, bare, [&] { return site.CommandsSoFar(); });
    Print(load, "send", ours.send, theirs.send);
    Print(load, "receive", ours.receive, theirs.receive);
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 5) Fail("use: ftp_bench ADDRESS USER PASSWORD LOG");
    const Site site{arguments[1], arguments[2], arguments[3], arguments[4]};
    const tests::Library dll;
    const tests::ComApartment apartment;
    const tests::Framework framework;
    for (const int files : {50, 200, 800})
        CountCalls(files);
    bench::SenderReceiver library(dll.Create<clsFTPSndRcv, IZNSenderReceiver>(),
                                  site.Settings(L"packets/BENCH"));
    BareLoop bare(site);
    // The emptied folders stay on the server, and each receiving looks into them. Small ones: under Wine a
    // listing reads long folders slowly, as the load in one folder shows.
    for (const Load& load :
         {Load{"1 file of 200 MB", 1, 1, 200 << 20, 3}, Load{"50 files of 4 KB, 1 folder", 1, 50, 4 << 10, 1},
          Load{"500 files of 64 KB, 50 folders", 50, 10, 64 << 10, 3}})
        Compare(site, load, library, bare);
}
