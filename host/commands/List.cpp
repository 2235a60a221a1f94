// The command list.
#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "base/Console.h"
#include "base/FolderTree.h"
#include "com/ComApartment.h"
#include "host/commands/Commands.h"
#include "host/commands/HostOptions.h"
#include "host/console/ExitCode.h"
#include "host/console/Table.h"
#include "host/cycle/AwaitedForms.h"
#include "host/cycle/Cycle.h"
#include "host/cycle/WaitingPackets.h"
#include "host/record/RunReport.h"
#include "host/settings/SettingsChecks.h"

namespace {

struct Place {
    std::wstring name;
    std::vector<base::TreeFile> files;
};

std::uint64_t TotalSize(const std::vector<base::TreeFile>& files) {
    std::uint64_t total = 0;
    for (const base::TreeFile& file : files)
        total += file.size;
    return total;
}

}  // namespace

int commands::List(const Options& options) {
    const Settings settings =
        ReadSettingsWithoutPasswords(options.AbsolutePath(), {&CheckFolders, &CheckLogFile, &CheckPrograms});
    const ComApartment apartment;
    Session session(settings);
    PacketLedger unlisted(settings);
    std::vector<base::TreeFile> received = ReceivedFiles(settings);
    std::ranges::copy(AwaitingFiles(settings), std::back_inserter(received));
    std::vector<base::TreeFile> sending = FilesToSend(session, settings);
    std::ranges::copy(OlderFiles(settings), std::back_inserter(sending));
    const std::vector<Place> places = {{L"outbox", OutboxFiles(settings, unlisted)},
                                       {L"send folder", std::move(sending)},
                                       {L"receive folder", std::move(received)}};
    Table table({{L"Place"}, {L"Packet"}, {L"Size", Table::Align::Right}});
    for (const Place& place : places)
        for (const base::TreeFile& file : place.files)
            table.Add({place.name, file.RelativePath(), Grouped(file.size)});
    if (!table.IsEmpty()) table.Print();
    for (const Place& place : places)
        Console::Line(place.name + L": " + Counted(place.files.size(), L"packet") + L", " +
                      Counted(TotalSize(place.files), L"byte"));
    PrintUnlisted(unlisted.Outcomes());
    return unlisted.Outcomes().empty() ? kAllDelivered : kSomethingLeft;
}
