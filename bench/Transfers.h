// What the benchmarks of transfers to a server share: the library's sender/receiver against another way, in
// turns.
#pragma once

#include <functional>
#include <utility>

#include "bench/Bench.h"
#include "tests/win/support/FrameworkDoubles.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/TempFolder.h"

namespace bench {

/// One way to move a folder's files to a folder of the server, and back.
class Contender {
public:
    virtual ~Contender() = default;
    virtual void Send(const std::wstring& from) = 0;
    virtual void Receive(const std::wstring& to) = 0;
};

/// The library's way.
class SenderReceiver final : public Contender {
public:
    SenderReceiver(Microsoft::WRL::ComPtr<IZNSenderReceiver> remote,
                   const std::vector<std::pair<std::wstring, std::wstring>>& settings)
        : m_remote(std::move(remote)) {
        tests::Ask<bool>(&IZNSenderReceiver::Init, m_remote, tests::Properties(settings).Get());
        if (!tests::Ask<bool>(&IZNSenderReceiver::Connect, m_remote)) Fail("no connection");
    }
    SenderReceiver(const SenderReceiver&) = delete;
    SenderReceiver& operator=(const SenderReceiver&) = delete;
    ~SenderReceiver() override { tests::Ask<bool>(&IZNSenderReceiver::Disconnect, m_remote); }

    void Send(const std::wstring& from) override {
        m_remote->put_LocalSendFolder(tests::In(from));
        Run(&IZNSenderReceiver::Send);
    }
    void Receive(const std::wstring& to) override {
        m_remote->put_LocalReceiveFolder(tests::In(to));
        Run(&IZNSenderReceiver::Receive);
    }

private:
    template <class Member>
    void Run(Member member) {
        if (!tests::Ask<bool>(member, m_remote, L"", m_progress.Get())) Fail("the sender/receiver failed");
    }

    Microsoft::WRL::ComPtr<IZNSenderReceiver> m_remote;
    Microsoft::WRL::ComPtr<IZNProgress> m_progress = com::Make<QuietProgress>();
};

/// Seconds of one direction, and what else was counted in them for each file.
struct Cost {
    double seconds = 1e9;
    double countedPerFile = 0;
};

/// Of the best rounds of a contender.
struct Costs {
    Cost send, receive;
};

/// Tells how much has been counted so far.
using Counter = std::function<int()>;

inline void Measure(const Load& load, const Counter& counter, Cost& best,
                    const std::function<void()>& action) {
    const int before = counter();
    const Stopwatch watch;
    action();
    const double seconds = watch.Seconds();
    if (seconds < best.seconds) best = {seconds, static_cast<double>(counter() - before) / load.Files()};
}

inline void OneRound(const Load& load, const Counter& counter, Contender& contender, Costs& best) {
    const tests::TempFolder temp;
    const std::wstring from = temp.Folder(L"from");
    const std::wstring to = temp.Folder(L"to");
    WriteFolders(from, load);
    Measure(load, counter, best.send, [&] { contender.Send(from); });
    Measure(load, counter, best.receive, [&] { contender.Receive(to); });
    if (FilesBelow(to) != load.Files()) Fail("files are missing");
}

/// The costs of the library and of another contender.
inline std::pair<Costs, Costs> Race(
    const Load& load, Contender& library, Contender& other, const Counter& counter = [] { return 0; }) {
    Costs ours;
    Costs theirs;
    for (int round = 0; round < load.rounds; ++round) {
        OneRound(load, counter, library, ours);
        OneRound(load, counter, other, theirs);
    }
    return {ours, theirs};
}

}  // namespace bench
