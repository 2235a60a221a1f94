#include "host/Report.h"

#include <algorithm>

#include "host/Console.h"
#include "host/Table.h"

namespace {

const wchar_t* Text(Direction direction) { return direction == Direction::Out ? L"out" : L"in"; }

const wchar_t* Text(PacketState state) {
    switch (state) {
    case PacketState::Sent:
        return L"sent";
    case PacketState::Delivered:
        return L"delivered";
    case PacketState::NotAdded:
        return L"not added";
    case PacketState::InOutbox:
        return L"stays in outbox";
    case PacketState::Waiting:
        return L"waiting in send folder";
    case PacketState::NotReceived:
        return L"stays at remote side";
    case PacketState::NotDelivered:
        return L"not delivered";
    }
    return L"";
}

void PrintPackets(const std::vector<Outcome>& outcomes) {
    Table table({{L"Direction"}, {L"Packet"}, {L"Size", Table::Align::Right}, {L"State"}, {L"Reason"}});
    for (const Outcome& outcome : outcomes)
        table.Add({Text(outcome.direction), outcome.packet, Grouped(outcome.size), Text(outcome.state),
                   outcome.reason});
    if (!table.IsEmpty()) table.Print();
}

size_t Count(const CycleResult& result, PacketState state) {
    return static_cast<size_t>(std::ranges::count(result.outcomes, state, &Outcome::state));
}

void PrintSummary(const CycleResult& result) {
    const size_t sent = Count(result, PacketState::Sent);
    const size_t delivered = Count(result, PacketState::Delivered);
    Console::Line(Grouped(sent) + L" sent, " + Grouped(delivered) + L" delivered, " +
                  Grouped(result.outcomes.size() - sent - delivered) + L" left behind");
}

}  // namespace

void PrintReport(const CycleResult& result) {
    PrintPackets(result.outcomes);
    if (result.interrupted)
        Console::Line(L"Stopped by the user. Nothing is lost: the next run goes on from here.");
    else if (!result.transferred)
        Console::Line(L"The transfer failed: " + result.transferReason);
    PrintSummary(result);
}
