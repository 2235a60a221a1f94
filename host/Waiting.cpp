#include "host/Waiting.h"

#include "common/Console.h"
#include "host/Cycle.h"
#include "host/Files.h"
#include "host/Table.h"

namespace {

struct Place {
    std::wstring name;
    std::vector<Files::Entry> files;
};

std::vector<Files::Entry> ReceivedFiles(const Settings& settings) {
    std::vector<Files::Entry> files;
    for (const std::wstring& subFolder : ReceiveSubFolders(settings))
        for (const Files::Entry& file : Files::FilesIn(settings.receive, subFolder))
            files.push_back(file);
    return files;
}

std::uint64_t TotalSize(const std::vector<Files::Entry>& files) {
    std::uint64_t total = 0;
    for (const Files::Entry& file : files)
        total += file.size;
    return total;
}

}  // namespace

void PrintWaiting(Session& session, const Settings& settings) {
    const std::vector<Place> places = {{L"outbox", Files::Tree(settings.outbox)},
                                       {L"send folder", FilesToSend(session, settings)},
                                       {L"receive folder", ReceivedFiles(settings)}};
    Table table({{L"Place"}, {L"Packet"}, {L"Size", Table::Align::Right}});
    for (const Place& place : places)
        for (const Files::Entry& file : place.files)
            table.Add({place.name, file.Relative(), Grouped(file.size)});
    if (!table.IsEmpty()) table.Print();
    for (const Place& place : places)
        Console::Line(place.name + L": " + Counted(place.files.size(), L"packet") + L", " +
                      Counted(TotalSize(place.files), L"byte"));
}
