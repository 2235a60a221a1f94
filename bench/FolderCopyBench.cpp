// The folder-copy sender/receiver against bare loops of CopyFileW and DeleteFileW, with and without bringing
// each copy to the disk in between, and against xcopy, which copies only. The contenders take turns over the
// same files, so that caches and disk favour none.
#include <windows.h>
#include <psapi.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "bench/Bench.h"
#include "bench/Row.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/TempFolder.h"

using bench::Fail;
using bench::Load;
using bench::QuietProgress;
using bench::Stopwatch;
using Microsoft::WRL::ComPtr;

namespace {

enum class Copies { InCache, OnDisk };

void BringToDisk(const std::wstring& file) {
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (!FlushFileBuffers(handle)) Fail("FlushFileBuffers");
    CloseHandle(handle);
}

template <Copies copies>
void BareLoop(const std::wstring& from, const std::wstring& to) {
    const bench::Names names = bench::List(from);
    for (const std::wstring& name : names.files) {
        const std::wstring source = from + L"\\" + name;
        const std::wstring destination = to + L"\\" + name;
        if (!CopyFileW(source.c_str(), destination.c_str(), FALSE)) Fail("CopyFileW");
        if (copies == Copies::OnDisk) BringToDisk(destination);
        if (!DeleteFileW(source.c_str())) Fail("DeleteFileW");
    }
    for (const std::wstring& name : names.folders) {
        const std::wstring target = to + L"\\" + name;
        if (!CreateDirectoryW(target.c_str(), nullptr)) Fail("CreateDirectoryW");
        BareLoop<copies>(from + L"\\" + name, target);
    }
}

void Xcopy(const std::wstring& from, const std::wstring& to) {
    std::wstring command = L"xcopy.exe \"" + from + L"\" \"" + to + L"\" /I /Y /Q /S";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                        &startup, &process))
        Fail("xcopy");
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

class FolderCopy {
public:
    explicit FolderCopy(const tests::Library& library)
        : m_remote(library.Create<clsXCOPYSndRcv, IZNSenderReceiver>()) {}

    void Move(const std::wstring& from, const std::wstring& to) const {
        m_remote->put_LocalSendFolder(com::Bstr(from).Get());
        com::Get<bool>(&IZNSenderReceiver::Init, m_remote.Get(),
                       tests::Properties({{L"RemoteSendFolder", to}}).Get());
        if (!com::Get<bool>(&IZNSenderReceiver::Send, m_remote.Get(), com::Bstr(L"").Get(),
                            static_cast<IUnknown*>(static_cast<IZNProgress*>(m_progress.Get()))))
            Fail("the sender/receiver failed");
    }

private:
    ComPtr<IZNSenderReceiver> m_remote;
    ComPtr<IZNProgress> m_progress = com::Make<QuietProgress>();
};

using Contender = std::function<void(const std::wstring&, const std::wstring&)>;

double OneRun(const Load& load, const Contender& contender) {
    const tests::TempFolder temp;
    const std::wstring from = temp.Folder(L"from");
    const std::wstring to = temp.Folder(L"to");
    bench::WriteFolders(from, load);
    const Stopwatch watch;
    contender(from, to);
    const double seconds = watch.Seconds();
    if (bench::FilesBelow(to) != load.Files()) Fail("files are missing at the destination");
    return seconds;
}

/// Best time of each contender.
std::vector<double> Race(const Load& load, const std::vector<Contender>& contenders) {
    std::vector<double> best(contenders.size(), 1e9);
    for (int round = 0; round < load.rounds; ++round)
        for (size_t i = 0; i < contenders.size(); ++i)
            best[i] = std::min(best[i], OneRun(load, contenders[i]));
    return best;
}

constexpr double kLimit = 1.1;
/// Files of 1 KB: what is asked of the system for each of them counts, not its content.
constexpr double kLimitOfSmall = 1.3;

void Compare(const Contender& move) {
    for (const Load& load :
         {Load{"2,000 files of 64 KB", 1, 2000, 64 << 10, 3}, Load{"1 file of 1 GB", 1, 1, 1ull << 30, 3}}) {
        const auto best = Race(load, {move, &BareLoop<Copies::OnDisk>, &BareLoop<Copies::InCache>, &Xcopy});
        const std::string figure = std::string("Folder copy, ") + load.name;
        bench::PrintRow(figure.c_str(), "s", best[0], {"bare loop that flushes", best[1], kLimit});
        bench::PrintRow(figure.c_str(), "s", best[0], {"bare loop", best[2]});
        bench::PrintRow(figure.c_str(), "s", best[0], {"xcopy, which deletes nothing", best[3]});
    }
}

/// Wine searches a whole folder for a name that is not there yet, so that only folders of one size compare.
void Scale(const Contender& move) {
    for (const Load& load :
         {Load{"100 in a folder", 1, 100, 1 << 10, 10}, Load{"1,000 in 10 folders", 10, 100, 1 << 10, 3},
          Load{"10,000 in 100 folders", 100, 100, 1 << 10, 1},
          Load{"1,000 in a folder", 1, 1000, 1 << 10, 3}}) {
        const auto best = Race(load, {move, &BareLoop<Copies::OnDisk>});
        const auto each = [&](double seconds) { return seconds * 1e6 / load.Files(); };
        const std::string figure = std::string("Folder copy, 1 KB, ") + load.name + ", per file";
        bench::PrintRow(figure.c_str(), "us", each(best[0]),
                        {"bare loop that flushes", each(best[1]), kLimitOfSmall});
    }
}

}  // namespace

int main() {
    const tests::Library library;
    const tests::ComApartment apartment;
    const tests::Framework framework;
    {
        const FolderCopy folderCopy(library);
        const Contender move = [&](const auto& from, const auto& to) { folderCopy.Move(from, to); };
        Compare(move);
        Scale(move);
    }
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    constexpr double kMostMemory = 32;  // MB
    bench::PrintRow("Folder copy, memory of the process", "MB",
                    static_cast<double>(memory.PeakWorkingSetSize) / (1 << 20), kMostMemory);
}
