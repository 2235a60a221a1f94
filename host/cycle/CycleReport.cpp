// See CycleReport.h.
#include "host/cycle/CycleReport.h"

#include <algorithm>

#include "base/Console.h"
#include "host/console/Table.h"

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

std::wstring Text(std::optional<std::uint64_t> size) { return size ? Grouped(*size) : L"-"; }

/// What the file that travels is of the packet, in percent with one decimal.
std::wstring Ratio(const Outcome& outcome) {
    if (!outcome.travelSize || outcome.size.value_or(0) == 0) return L"-";
    const std::uint64_t permille = (*outcome.travelSize * 1000 + *outcome.size / 2) / *outcome.size;
    return std::to_wstring(permille / 10) + L"." + std::to_wstring(permille % 10) + L" %";
}

void PrintPackets(const std::vector<Outcome>& outcomes) {
    using enum Table::Align;
    Table table({{L"Direction"},
                 {L"Packet"},
                 {L"Size", Right},
                 {L"Travels as", Right},
                 {L"Ratio", Right},
                 {L"State"},
                 {L"Reason"}});
    for (const Outcome& outcome : outcomes)
        table.Add({Text(outcome.direction), outcome.packet, Text(outcome.size), Text(outcome.travelSize),
                   Ratio(outcome), Text(outcome.state), outcome.reason});
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
    else if (result.transferFailure)
        Console::Line(L"The transfer failed: " + *result.transferFailure);
    PrintSummary(result);
}
