// The FTP sender/receiver against a bare loop of the same WinINet calls, in turns on the same server.
// ftp_bench ADDRESS USER PASSWORD LOG: the server has a folder "packets"; LOG is its log of all commands.
#include <filesystem>
#include <fstream>
#include <functional>

#include "base/Text.h"
#include "bench/Bench.h"
#include "bench/Row.h"
#include "com/Object.h"
#include "common/modWinInet.h"
#include "sendrecv/clsFTPSndRcv.h"
#include "tests/win/support/FtpScript.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/TempFolder.h"

using bench::Fail;
using bench::Load;
using tests::Ask;
using tests::ComPtr;

namespace {

struct Site {
    std::string address, user, password;
    std::filesystem::path log;

    int CommandsSoFar() const {
        std::ifstream file(log);
        int count = 0;
        for (std::string line; std::getline(file, line);)
            if (line.find("FTP command:") != std::string::npos) ++count;
        return count;
    }
};

std::wstring Wide(const std::string& text) { return base::FromSystemCodePage(text); }

/// One way to move a folder's files to the server's folder "packets/BENCH" and back.
class Contender {
public:
    virtual ~Contender() = default;
    virtual void Send(const std::filesystem::path& from) = 0;
    virtual void Receive(const std::filesystem::path& to) = 0;
};

class LibraryLoop final : public Contender {
public:
    LibraryLoop(const tests::Library& library, const Site& site)
        : m_remote(library.Create<clsFTPSndRcv, IZNSenderReceiver>()) {
        const auto settings = tests::Properties({{L"FTPServer", Wide(site.address)},
                                                 {L"FTPUser", Wide(site.user)},
                                                 {L"FTPPassword", Wide(site.password)},
                                                 {L"RemoteSendFolder", L"packets/BENCH"},
                                                 {L"RemoteReceiveFolder", L"packets"}});
        Ask<bool>(&IZNSenderReceiver::Init, m_remote, settings.Get());
        if (!Ask<bool>(&IZNSenderReceiver::Connect, m_remote)) Fail("no connection");
    }
    LibraryLoop(const LibraryLoop&) = delete;
    LibraryLoop& operator=(const LibraryLoop&) = delete;
    ~LibraryLoop() override { Ask<bool>(&IZNSenderReceiver::Disconnect, m_remote); }

    void Send(const std::filesystem::path& from) override {
        m_remote->put_LocalSendFolder(tests::In(from.wstring()));
        Run(&IZNSenderReceiver::Send, L"");
    }
    void Receive(const std::filesystem::path& to) override {
        m_remote->put_LocalReceiveFolder(tests::In(to.wstring()));
        Run(&IZNSenderReceiver::Receive, L"BENCH");
    }

private:
    template <class Member>
    void Run(Member member, const wchar_t* folder) {
        if (!Ask<bool>(member, m_remote, folder, m_progress.Get())) Fail("the sender/receiver failed");
    }

    ComPtr<IZNSenderReceiver> m_remote;
    ComPtr<IZNProgress> m_progress = com::Make<bench::QuietProgress>();
};

class BareLoop final : public Contender {
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

    void Send(const std::filesystem::path& from) override {
        Enter("packets");
        SendFolder(from, "BENCH");
        Enter("..");
    }
    void Receive(const std::filesystem::path& to) override {
        Enter("packets");
        ReceiveFolder("BENCH", to / "BENCH");
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
constexpr double kMostCallsToReceive = 6.2;

/// What the library asks of WinINet for each packet of a folder, of whatever length. A look at one name is
/// one call, for which Wine reads the whole list.
void CountCalls(int files) {
    tests::FtpScript server;
    server.tellsStatus = true;
    server.folders.insert("/packets");
    const tests::TempFolder temp;
    bench::WriteFiles(temp.Folder(L"from"), files, 1);
    const ComPtr<IZNSenderReceiver> remote = com::Make<clsFTPSndRcv>();
    const auto settings = tests::Properties({{L"FTPServer", L"scripted"},
                                             {L"FTPUser", L"joe"},
                                             {L"FTPPassword", L"secret"},
                                             {L"RemoteSendFolder", L"packets"},
                                             {L"RemoteReceiveFolder", L"packets"}});
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
    bench::PrintRow(("FTP, WinINet calls to receive a packet" + where).c_str(), "calls",
                    callsOf(&IZNSenderReceiver::Receive), kMostCallsToReceive);
}

/// Seconds, and commands on the wire for each file, of one direction.
struct Cost {
    double seconds = 1e9;
    double commandsPerFile = 0;
};

Cost Measure(const Site& site, const Load& load, const std::function<void()>& action) {
    const int before = site.CommandsSoFar();
    const bench::Stopwatch watch;
    action();
    const double seconds = watch.Seconds();
    return {seconds, static_cast<double>(site.CommandsSoFar() - before) / load.Files()};
}

void OneRound(const Site& site, const Load& load, Contender& contender, Cost& send, Cost& receive) {
    const tests::TempFolder temp;
    bench::WriteFolders(temp.Folder(L"from"), load);
    const std::filesystem::path to = temp.Folder(L"to");
    const Cost sent = Measure(site, load, [&] { contender.Send(temp / L"from"); });
    const Cost received = Measure(site, load, [&] { contender.Receive(to); });
    if (bench::FilesBelow(to) != load.Files()) Fail("files are missing");
    if (sent.seconds < send.seconds) send = sent;
    if (received.seconds < receive.seconds) receive = received;
}

void Print(const Load& load, const std::string& direction, const Cost& library, const Cost& bare) {
    const std::string figure = "FTP, " + direction + " " + load.name;
    bench::PrintRow(figure.c_str(), "s", library.seconds, {"bare loop of WinINet", bare.seconds, kLimit});
    bench::PrintRow((figure + ", commands per file").c_str(), "commands", library.commandsPerFile,
                    {"bare loop of WinINet", bare.commandsPerFile});
}

void Compare(const Site& site, const Load& load, Contender& library, Contender& bare) {
    Cost librarySend, libraryReceive, bareSend, bareReceive;
    for (int round = 0; round < load.rounds; ++round) {
        OneRound(site, load, library, librarySend, libraryReceive);
        OneRound(site, load, bare, bareSend, bareReceive);
    }
    Print(load, "send", librarySend, bareSend);
    Print(load, "receive", libraryReceive, bareReceive);
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
    LibraryLoop library(dll, site);
    BareLoop bare(site);
    // The emptied folders stay on the server, and each receiving looks into them. Small ones: under Wine a
    // listing reads long folders slowly, as the load in one folder shows.
    for (const Load& load :
         {Load{"1 file of 200 MB", 1, 1, 200 << 20, 3}, Load{"50 files of 4 KB, 1 folder", 1, 50, 4 << 10, 1},
          Load{"500 files of 64 KB, 50 folders", 50, 10, 64 << 10, 3}})
        Compare(site, load, library, bare);
}
