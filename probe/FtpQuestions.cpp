// See Questions.h.
#include "probe/Questions.h"

#include <algorithm>
#include <array>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/IoCounters.h"
#include "base/RollBack.h"
#include "base/Text.h"

namespace probe {

namespace {

/// The server itself is asked, and no cache.

/// How a search went.
struct Found {
    std::vector<std::wstring> names;
    DWORD error;  ///< that ended it

    bool Has(const std::wstring& name) const { return std::ranges::find(names, name) != names.end(); }
};

Found Search(HINTERNET connection, const std::string& pattern, DWORD flags = kFresh) {
    Found found;
    WIN32_FIND_DATAA entry{};
    SetLastError(ERROR_SUCCESS);
    const InternetHandle search(::FtpFindFirstFileA(connection, pattern.c_str(), &entry, flags, 0));
    for (bool more = static_cast<bool>(search); more; more = ::InternetFindNextFileA(search.Get(), &entry)) {
        const std::wstring name = base::FromSystemCodePage(entry.cFileName);
        if (name != L"." && name != L"..") found.names.push_back(name);
    }
    found.error = GetLastError();
    return found;
}

std::wstring Answer(const Found& found) {
    return found.names.empty() ? FtpErrorAnswer(found.error) : Joined(found.names);
}

/// Past WinINet's functions for files, so that its cache does not notice.
void Command(HINTERNET connection, const std::string& command) {
    HINTERNET noData = nullptr;
    const bool done =
        ::FtpCommandA(connection, FALSE, FTP_TRANSFER_TYPE_BINARY, command.c_str(), 0, &noData) != FALSE;
    Require(done || LastReply().starts_with(L'3'), command);
}

bool Get(const FtpScratch& ftp, HINTERNET connection, const std::string& name, DWORD flags = kFresh) {
    const std::string local = ftp.LocalPath("received");
    return ::FtpGetFileA(connection, name.c_str(), local.c_str(), FALSE, FILE_ATTRIBUTE_NORMAL, flags, 0) !=
           FALSE;
}

Question List(FtpScratch& ftp, const std::string& pattern) {
    return {L"A list of \"" + base::FromSystemCodePage(pattern) + L"\" has folders and names without a dot",
            L"all", [=, &ftp] {
                const Found found = Search(ftp.Connection(), pattern);
                const bool all = found.Has(L"packet.mdb") && found.Has(L"plain") && found.Has(L"SUB");
                return (all ? L"all: " : L"not all: ") + Answer(found);
            }};
}

/// pattern: the name, or one that stands for it.
Question SearchFor(FtpScratch& ftp, const std::string& name, const std::string& pattern) {
    const std::wstring wanted = base::FromSystemCodePage(name);
    return {L"A search for \"" + base::FromSystemCodePage(pattern) + L"\" finds " + wanted, L"only that",
            [=, &ftp] {
                ftp.Put(name);
                const Found found = Search(ftp.Connection(), pattern);
                return (found.names == std::vector{wanted} ? L"only that: " : L"") + Answer(found);
            }};
}

std::wstring ListOfEmpty(FtpScratch& ftp) {
    ftp.MakeFolder("EMPTY");
    const InternetHandle connection = ftp.ConnectAgain();
    Require(::FtpSetCurrentDirectoryA(connection.Get(), "EMPTY"), "enter the folder EMPTY");
    return Answer(Search(connection.Get(), "*.*"));
}

std::wstring Login(const FtpScratch& ftp, const std::string& server, INTERNET_PORT port,
                   const std::string& password) {
    return FtpOutcome(static_cast<bool>(ftp.TryConnect(server, port, password)));
}

std::wstring SecondSearch(const FtpScratch& ftp) {
    WIN32_FIND_DATAA entry{};
    const InternetHandle first(::FtpFindFirstFileA(ftp.Connection(), "*.*", &entry, kFresh, 0));
    Require(static_cast<bool>(first), "begin a search");
    const InternetHandle second(::FtpFindFirstFileA(ftp.Connection(), "*.*", &entry, kFresh, 0));
    return FtpOutcome(static_cast<bool>(second));
}

std::wstring Source(bool isOld) { return isOld ? L"from the cache" : L"from the server"; }

std::wstring SecondList(FtpScratch& ftp, DWORD flags) {
    ftp.Put("listed.mdb");
    const Found first = Search(ftp.Connection(), "*.*", INTERNET_FLAG_RELOAD);
    Command(ftp.Connection(), "DELE listed.mdb");
    const Found second = Search(ftp.Connection(), "*.*", flags);
    if (!first.Has(L"listed.mdb") || !second.Has(L"packet.mdb")) return L"not listed: " + Answer(second);
    return Source(second.Has(L"listed.mdb"));
}

std::wstring SecondGet(FtpScratch& ftp, DWORD flags) {
    constexpr size_t kOlder = 10;
    ftp.Put("older.mdb", kOlder);
    ftp.Put("newer.mdb", 2 * kOlder);
    Require(Get(ftp, ftp.Connection(), "older.mdb", INTERNET_FLAG_RELOAD), "receive older.mdb");
    for (const char* command : {"DELE older.mdb", "RNFR newer.mdb", "RNTO older.mdb"})
        Command(ftp.Connection(), command);
    Require(Get(ftp, ftp.Connection(), "older.mdb", flags), "receive older.mdb again");
    return Source(FileSystem::FileSize(base::FromSystemCodePage(ftp.LocalPath("received"))) == kOlder);
}

std::wstring TimeOutOf(const InternetHandle& session, DWORD option) {
    DWORD milliseconds = 0;
    DWORD size = sizeof milliseconds;
    const bool done = ::InternetQueryOptionA(session.Get(), option, &milliseconds, &size) != FALSE;
    return done ? std::to_wstring(milliseconds) : FtpOutcome(false);
}

std::wstring SetTimeOut(const TimeOut& timeOut) {
    const InternetHandle session = NewSession();
    const std::wstring before = L", before: " + TimeOutOf(session, timeOut.option);
    if (!Set(session, timeOut)) return FtpOutcome(false) + before;
    return TimeOutOf(session, timeOut.option) + before;
}

enum class When { BeforeTransfer, AfterGet };

std::wstring FileStatus(const FtpScratch& ftp, const char* command, When when) {
    const InternetHandle connection = ftp.ConnectAgain();
    if (when == When::AfterGet) Require(Get(ftp, connection.Get(), "packet.mdb"), "receive packet.mdb");
    HINTERNET noData = nullptr;
    const bool done =
        ::FtpCommandA(connection.Get(), FALSE, FTP_TRANSFER_TYPE_BINARY, command, 0, &noData) != FALSE;
    const std::wstring outcome = FtpOutcome(done);
    return done ? outcome + L", reply " + LastReply() : outcome;
}

std::string CurrentFolder(const InternetHandle& connection) {
    std::array<char, 260> folder{};
    DWORD length = 259;
    Require(::FtpGetCurrentDirectoryA(connection.Get(), folder.data(), &length), "the current folder");
    return folder.data();
}

std::wstring EnterCurrentFolder(const FtpScratch& ftp) {
    const InternetHandle connection = ftp.ConnectAgain();
    const std::string folder = CurrentFolder(connection);
    return FtpOutcome(::FtpSetCurrentDirectoryA(connection.Get(), folder.c_str())) + L", " +
           base::FromSystemCodePage(folder);
}

std::wstring Enter(const FtpScratch& ftp, const char* folder) {
    const InternetHandle connection = ftp.ConnectAgain();
    const std::string before = CurrentFolder(connection);
    if (!::FtpSetCurrentDirectoryA(connection.Get(), folder)) return FtpOutcome(false);
    const std::string after = CurrentFolder(connection);
    if (after == before) return L"stays there";
    const bool isAbove = after == before.substr(0, std::max<size_t>(before.rfind('/'), 1));
    return (isAbove ? L"one up: " : L"elsewhere: ") + base::FromSystemCodePage(after);
}

std::wstring ReceivedReadOnly(FtpScratch& ftp) {
    ftp.Put("protected.mdb");
    HINTERNET noData = nullptr;
    ::FtpCommandA(ftp.Connection(), FALSE, FTP_TRANSFER_TYPE_BINARY, "SITE CHMOD 444 protected.mdb", 0,
                  &noData);
    WIN32_FIND_DATAA entry{};
    InternetHandle search(::FtpFindFirstFileA(ftp.Connection(), "protected.mdb", &entry, kFresh, 0));
    search.Reset();
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_READONLY) == 0)
        throw NoOccasion{L"a file is not listed as read-only even after SITE CHMOD 444"};
    const std::string local = ftp.LocalPath("protected");
    const base::RollBack removal([&] { FileSystem::TryDelete(base::FromSystemCodePage(local)); });
    Require(::FtpGetFileA(ftp.Connection(), "protected.mdb", local.c_str(), FALSE, entry.dwFileAttributes,
                          kFresh, 0),
            "receive protected.mdb");
    return (GetFileAttributesA(local.c_str()) & FILE_ATTRIBUTE_READONLY) ? L"yes" : L"no";
}

/// The file is read here before it is sent.
std::wstring CountsSent(FtpScratch& ftp) {
    constexpr size_t kSize = 1 << 20;
    const std::uint64_t before = base::TransferredBytes();
    ftp.Put("large.mdb", kSize);
    const std::uint64_t counted = base::TransferredBytes() - before;
    constexpr size_t kWrittenAndRead = 2 * kSize;
    return (counted >= kWrittenAndRead + kSize ? L"yes, " : L"no, ") + std::to_wstring(counted) +
           L" bytes for a file of " + std::to_wstring(kSize) + L" that was written, read and sent";
}

}  // namespace

std::vector<Question> FtpQuestions(FtpScratch& ftp) {
    ftp.Put("packet.mdb");
    ftp.Put("plain");
    ftp.MakeFolder("SUB");
    const FtpAccount& account = ftp.Account();
    const HINTERNET connection = ftp.Connection();
    std::vector<Question> questions = {
        List(ftp, "*.*"),
        List(ftp, "*"),
        List(ftp, ""),
        SearchFor(ftp, "two words.mdb", "two words.mdb"),
        SearchFor(ftp, "two words.mdb", "two?words.mdb"),
        SearchFor(ftp, "b[1].mdb", "b[1].mdb"),
        SearchFor(ftp, "b[1].mdb", "b?1?.mdb"),
        SearchFor(ftp, "c{1}.mdb", "c{1}.mdb"),
        SearchFor(ftp, "c{1}.mdb", "c?1?.mdb"),
        SearchFor(ftp, "-dash.mdb", "-dash.mdb"),
        SearchFor(ftp, "-dash.mdb", "?dash.mdb"),
        {L"A search for a missing name", L"error 18",
         [=] { return Answer(Search(connection, "missing.mdb")); }},
        {L"A list of an empty folder", L"error 18", [&] { return ListOfEmpty(ftp); }},
        {L"A search while another one is open", L"error 12110", [&] { return SecondSearch(ftp); }},
        {L"Entering a missing folder", L"error 12003, reply 550",
         [=] { return FtpOutcome(::FtpSetCurrentDirectoryA(connection, "MISSING")); }},
        {L"Receiving a missing file", L"error 12003, reply 550",
         [&] { return FtpOutcome(Get(ftp, ftp.Connection(), "missing.mdb")); }},
        {L"Deleting a missing file", L"error 12003, reply 550",
         [=] { return FtpOutcome(::FtpDeleteFileA(connection, "missing.mdb")); }},
        {L"A wrong password", L"error 12014 or error 12015",
         [&] {
             return Login(ftp, account.server, INTERNET_INVALID_PORT_NUMBER, account.password + "-wrong");
         }},
        {L"An unknown server", L"error 12007",
         [&] { return Login(ftp, "no-such-server.invalid", INTERNET_INVALID_PORT_NUMBER, "any"); }},
        {L"A closed port", L"error 12029", [&] { return Login(ftp, "127.0.0.1", 1, "any"); }},
        {L"A second list of a changed folder, with flags 0", L"from the cache or from the server",
         [&] { return SecondList(ftp, 0); }},
        {L"A second list of a changed folder, with RELOAD", L"from the server",
         [&] { return SecondList(ftp, INTERNET_FLAG_RELOAD); }},
        {L"A second list of a changed folder, with RELOAD and NO_CACHE_WRITE", L"from the server",
         [&] { return SecondList(ftp, kFresh); }},
        {L"A second get of a replaced file, with flags 0", L"from the cache or from the server",
         [&] { return SecondGet(ftp, 0); }},
        {L"A second get of a replaced file, with RELOAD", L"from the server",
         [&] { return SecondGet(ftp, INTERNET_FLAG_RELOAD); }},
        {L"A second get of a replaced file, with RELOAD and NO_CACHE_WRITE", L"from the server",
         [&] { return SecondGet(ftp, kFresh); }},
        {L"SIZE before any transfer", L"done, reply 213 or error 12003, reply 550",
         [&] { return FileStatus(ftp, "SIZE packet.mdb", When::BeforeTransfer); }},
        {L"MDTM before any transfer", L"done, reply 213",
         [&] { return FileStatus(ftp, "MDTM packet.mdb", When::BeforeTransfer); }},
        {L"SIZE after a get", L"done, reply 213 7",
         [&] { return FileStatus(ftp, "SIZE packet.mdb", When::AfterGet); }},
        {L"MDTM after a get", L"done, reply 213",
         [&] { return FileStatus(ftp, "MDTM packet.mdb", When::AfterGet); }},
        {L"The current folder, read with length 259, can be entered", L"done",
         [&] { return EnterCurrentFolder(ftp); }},
        {L"Entering ./..", L"one up", [&] { return Enter(ftp, "./.."); }},
        {L"Entering .", L"stays there", [&] { return Enter(ftp, "."); }},
        {L"Entering an empty name", kAny, [&] { return Enter(ftp, ""); }},
        {L"A received file is read-only when it is listed so", L"yes", [&] { return ReceivedReadOnly(ftp); }},
        {L"The process's counters count what is sent", L"yes", [&] { return CountsSent(ftp); }},
    };
    for (const TimeOut& timeOut : kFtpTimeOuts)
        questions.push_back({std::wstring(L"Time-out ") + timeOut.name, std::to_wstring(timeOut.milliseconds),
                             [=] { return SetTimeOut(timeOut); }});
    questions.push_back(
        {L"Removing the folder on the server", L"done", [&] { return FtpOutcome(ftp.Remove()); }});
    return questions;
}

}  // namespace probe
