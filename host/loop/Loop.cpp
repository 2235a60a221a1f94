// See Loop.h.
#include "host/loop/Loop.h"

#include <random>

#include "base/Handle.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "base/WindowsTime.h"
#include "host/loop/CycleProcess.h"
#include "host/loop/Schedule.h"

namespace {

using Wait = Schedule::Wait;

class Loop {
public:
    explicit Loop(const LoopRequest& request) : m_request(request), m_schedule(request.interval) {}

    DWORD Run();

private:
    DWORD RunCycle() const;
    DWORD TryCycle() const;
    Wait WaitAfter(DWORD end);
    bool StopsWithin(Wait wait) const;
    bool IsStopped() const { return WaitForSingleObject(m_request.stop, 0) == WAIT_OBJECT_0; }
    double Chance() { return std::uniform_real_distribution(0.0, 1.0)(m_random); }

    const LoopRequest& m_request;
    Schedule m_schedule;
    std::mt19937 m_random{std::random_device{}()};
};

DWORD Loop::Run() {
    DWORD end = kCycleComplete;
    Wait wait = m_request.isAwaited ? Wait::zero() : m_schedule.BeforeFirst(Chance());
    while (!StopsWithin(wait)) {
        end = TryCycle();
        wait = WaitAfter(end);
    }
    return end;
}

/// What keeps one cycle from being started may have gone when the next one is due.
DWORD Loop::TryCycle() const try { return RunCycle(); } catch (...) {
    m_request.tell(L"the cycle could not be started: " + base::CurrentFailure().description);
    return kCycleFailed;
}

DWORD Loop::RunCycle() const {
    const base::FileHandle output(m_request.openOutput ? m_request.openOutput() : INVALID_HANDLE_VALUE);
    const CycleProcess cycle({.settings = m_request.settings,
                              .options = m_request.options,
                              .stop = m_request.stop,
                              .hasConsole = !m_request.openOutput,
                              .output = output ? output.Get() : nullptr});
    const HANDLE either[] = {cycle.Handle(), m_request.stop};
    WaitForMultipleObjects(2, either, FALSE, INFINITE);
    if (IsStopped()) cycle.EndWithin(m_request.timeToStop);
    WaitForSingleObject(cycle.Handle(), INFINITE);
    const DWORD end = cycle.ExitCode();
    if (end > kCycleHadBadSettings && end != kCycleLeftPackets)
        m_request.tell(L"the cycle ended in the middle, with the code " + base::Hexadecimal(end) +
                       L"; the next one goes on from there");
    return end;
}

Wait Loop::WaitAfter(DWORD end) {
    const bool worked = end == kCycleComplete || end == kCycleLeftPackets;
    return worked ? m_schedule.AfterSuccess(Chance()) : m_schedule.AfterFailure(Chance());
}

/// Waits, and tells whether the loop is to stop. The time that has gone by ends the wait, and so does the
/// clock: a computer that slept, whose time stood still, is late when it wakes up; a clock that was set back
/// makes no wait longer, and one that was set forward brings one cycle early.
bool Loop::StopsWithin(Wait wait) const {
    const base::KernelHandle clock(CreateWaitableTimerW(nullptr, TRUE, nullptr));
    const FILETIME moment = base::ToWindowsTime(base::Now() + wait);
    const LARGE_INTEGER due{{moment.dwLowDateTime, static_cast<LONG>(moment.dwHighDateTime)}};
    const bool hasClock = clock && SetWaitableTimer(clock.Get(), &due, 0, nullptr, nullptr, FALSE);
    const HANDLE either[] = {m_request.stop, clock.Get()};
    return WaitForMultipleObjects(hasClock ? 2 : 1, either, FALSE, static_cast<DWORD>(wait.count())) ==
           WAIT_OBJECT_0;
}

}  // namespace

DWORD RunLoop(const LoopRequest& request) { return Loop(request).Run(); }
