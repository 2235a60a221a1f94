// The command status.
#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "base/Console.h"
#include "base/FileSystem.h"
#include "base/LocalTime.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/WindowsTime.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Table.h"
#include "host/cycle/AwaitedForms.h"
#include "host/cycle/WaitingPackets.h"
#include "host/record/Json.h"
#include "host/record/RunReport.h"
#include "host/record/StatusFile.h"
#include "host/settings/SettingsError.h"
#include "host/settings/SettingsFile.h"
#include "host/settings/SideFolders.h"

namespace {

using std::chrono::hours;
using std::chrono::minutes;

/// Adds the files of one place; what has gone meanwhile waits no more.
void Add(std::vector<WaitingPacket>& packets, const std::wstring& place, const std::wstring& folder,
         const std::vector<base::TreeFile>& files) {
    for (const base::TreeFile& file : files)
        if (const auto version = FileSystem::VersionOf(Path::Join(folder, file.RelativePath())))
            packets.push_back(
                {place, file.RelativePath(), version->size, base::FromWindowsTime(version->lastWrite)});
}

/// The oldest first.
std::vector<WaitingPacket> WaitingPackets(const Settings& settings, PacketLedger& unlisted) {
    std::vector<WaitingPacket> packets;
    Add(packets, L"outbox", settings.outbox, OutboxFiles(settings, unlisted));
    Add(packets, L"send", settings.send, SendFiles(settings));
    Add(packets, L"send.older", kOlderVersions.Path(settings), OlderFiles(settings));
    Add(packets, L"receive", settings.receive, ReceivedFiles(settings));
    Add(packets, L"receive.waiting", kAwaitingOlder.Path(settings), AwaitingFiles(settings));
    std::ranges::stable_sort(packets, {}, &WaitingPacket::saved);
    return packets;
}

/// In one unit, as a glance takes it in. A clock that was set back makes no age negative.
std::wstring Age(base::FileTime saved, base::FileTime now) {
    const auto age = std::max(now - saved, base::FileTime::duration::zero());
    if (age < hours(2)) return std::to_wstring(std::chrono::floor<minutes>(age).count()) + L" min";
    if (age < hours(48)) return std::to_wstring(std::chrono::floor<hours>(age).count()) + L" h";
    return std::to_wstring(std::chrono::floor<std::chrono::days>(age).count()) + L" d";
}

std::wstring EndOf(const LastRun& last) {
    switch (last.record->end) {
    case RunEnd::Complete:
        return L"complete";
    case RunEnd::Incomplete:
        return L"incomplete";
    case RunEnd::Stopped:
        return L"stopped by the user";
    case RunEnd::NoCycle:
        return L"no cycle took place";
    case RunEnd::Running:
        break;
    }
    return last.isUnderWay ? L"still under way" : L"ended in the middle; the next run goes on from there";
}

void PrintOverdue(const LastRun& last) {
    if (last.isUnderWay)
        Console::Line(
            L"It has been at work for more than a day. See in the log whether it moves packets, and "
            L"whether it waits for an answer; where it hangs, end its process (" +
            std::to_wstring(last.record->process) + L"): the next run goes on from there.");
    else
        Console::Line(L"The next cycle of the loop is overdue. Nothing was heard of it: see whether loop or "
                      L"service still run, and start them again.");
}

void PrintOutcome(const RunRecord& record) {
    PrintShown(record);
    PrintReport(record, ReportForm::Quiet);
    if (record.isWhole) Console::Line(Summary(record));
}

void PrintLastRun(const LastRun& last) {
    if (!last.record)
        return Console::Line(last.isUnreadable ? L"Last run: not known"
                                               : L"Last run: none that is remembered");
    Console::Line(L"Last run: " + base::LocalTime(last.record->started) + L", " + EndOf(last));
    if (last.record->end != RunEnd::Running) PrintOutcome(*last.record);
    if (last.isOverdue) PrintOverdue(last);
}

void PrintWaiting(const std::vector<WaitingPacket>& packets) {
    if (packets.empty()) return Console::Line(L"No packet waits here.");
    const base::FileTime now = base::Now();
    using enum Table::Align;
    Table table({{L"Age", Right}, {L"Place"}, {L"Packet"}, {L"Size", Right}});
    for (const WaitingPacket& packet : packets)
        table.Add({Age(packet.saved, now), packet.place, packet.packet, Grouped(packet.size)});
    table.Print();
    Console::Line(Counted(packets.size(), L"packet") + L" waiting here, the oldest saved " +
                  Age(packets.front().saved, now) + L" ago");
}

/// Why nobody knows of the last run; where nothing can be seen, nor of what waits.
std::optional<std::wstring> ObstacleFor(const Settings& settings, const LastRun& last) {
    if (!FileSystem::FolderExists(Path::WithSeparator(Path::Drive(settings.send))))
        return Complaint(settings, SettingOf<&Settings::send>(),
                         L"this drive or share is not there, nor what is remembered there of the last run");
    if (last.isUnreadable)
        return StatusFile(settings).Path() +
               L" cannot be read, which tells of the last run; the next one writes it anew";
    return std::nullopt;
}

bool IsGood(const LastRun& last) {
    if (last.isOverdue) return false;
    return !last.record || last.record->end == RunEnd::Complete || last.isUnderWay;
}

/// Nothing is asked of the remote side, and nothing of the libraries.
int TellStatus(const Options& options) {
    const Settings settings = ReadSettingsWithoutPasswords(options.AbsolutePath());
    const LastRun last = LastRunOf(settings);
    PacketLedger unlisted(settings);
    const std::vector<WaitingPacket> packets = WaitingPackets(settings, unlisted);
    const auto obstacle = ObstacleFor(settings, last);
    if (options.json) {
        Console::Line(json::Status(settings.file, last, packets, unlisted.Outcomes(), obstacle));
    } else {
        PrintLastRun(last);
        PrintWaiting(packets);
        PrintUnlisted(unlisted.Outcomes());
    }
    if (obstacle) Console::ErrorLine(L"znhost: " + *obstacle);
    return IsGood(last) && unlisted.Outcomes().empty() && !obstacle ? kAllDelivered : kSomethingLeft;
}

/// Programs get an object for each call.
void TellFailure(const Options& options, const std::wstring& failure) {
    if (options.json) Console::Line(json::Status(options.AbsolutePath(), {}, {}, {}, failure));
}

}  // namespace

int commands::Status(const Options& options) try {
    return TellStatus(options);
} catch (const SettingsError& error) {
    TellFailure(options, error.Text());
    throw;
} catch (...) {
    TellFailure(options, base::CurrentFailure().description);
    throw;
}
