// See RunReport.h.
#include "host/record/RunReport.h"

#include <algorithm>
#include <iterator>

#include "base/Console.h"
#include "base/LocalTime.h"
#include "base/Text.h"
#include "host/console/Table.h"
#include "host/record/Json.h"

namespace {

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
        table.Add({TextOf(outcome.direction), outcome.packet, Text(outcome.size), Text(outcome.travelSize),
                   Ratio(outcome), WordsOf(outcome.state).text, outcome.reason});
    if (!table.IsEmpty()) table.Print();
}

std::wstring PlannedSummary(const RunRecord& record) {
    return L"Nothing was changed. A run would send " + Grouped(record.Count(Account::Sent)) + L", deliver " +
           Grouped(record.Count(Account::Delivered)) + L" and leave " + Grouped(record.Count(Account::Left)) +
           L" behind.";
}

/// What there is to say of the run as a whole, beside its numbers.
void PrintRemarks(const RunRecord& record) {
    if (record.end == RunEnd::Stopped)
        Console::Line(L"Stopped by the user. Nothing is lost: the next run goes on from here.");
    else if (record.failure)
        Console::Line((record.end == RunEnd::NoCycle ? L"No cycle took place: " : L"The transfer failed: ") +
                      *record.failure);
}

void PrintTable(const RunRecord& record) {
    PrintPackets(record.outcomes);
    if (record.isDryRun) {
        for (const std::wstring& message : record.messages)
            Console::Line(message);
        if (record.failure) Console::Line(L"The transfer would fail: " + *record.failure);
        return Console::Line(PlannedSummary(record));
    }
    PrintRemarks(record);
    Console::Line(Summary(record));
}

std::vector<Outcome> LeftBehind(const RunRecord& record) {
    std::vector<Outcome> left;
    std::ranges::copy_if(record.outcomes, std::back_inserter(left), [](const Outcome& outcome) {
        return WordsOf(outcome.state).account == Account::Left;
    });
    return left;
}

void PrintWhatFailed(const RunRecord& record) {
    PrintPackets(LeftBehind(record));
    PrintRemarks(record);
}

/// Of what was shown in a transfer that did not fail as a whole.
std::wstring ShownIn(const RunRecord& record) {
    if (record.messages.empty()) return {};
    const std::size_t others = record.messages.size() - 1;
    return L"; " + record.messages.front() +
           (others > 0 ? L" (and " + Grouped(others) + L" more)" : std::wstring());
}

void PrintJson(const RunRecord& record) {
    for (const Outcome& outcome : record.outcomes)
        Console::Line(json::Packet(outcome));
    Console::Line(json::Run(record));
}

}  // namespace

std::wstring LineOf(const RunRecord& record) {
    const bool hasCycle = record.end != RunEnd::NoCycle;
    std::wstring line = base::LocalTime(record.ended) + L"  " + (hasCycle ? Summary(record) : L"no cycle");
    if (record.end == RunEnd::Stopped) line += L"; stopped by the user";
    if (record.failure)
        line += (hasCycle ? L"; the transfer failed: " : L": ") + *record.failure;
    else
        line += ShownIn(record);
    if (const std::vector<Outcome> left = LeftBehind(record); !left.empty())
        line += L"; " + left.front().packet + L": " + WordsOf(left.front().state).text +
                (left.front().reason.empty() ? L"" : L", " + left.front().reason);
    return base::OnOneLine(line);
}

std::wstring Summary(const RunRecord& record) {
    return Grouped(record.Count(Account::Sent)) + L" sent, " + Grouped(record.Count(Account::Delivered)) +
           L" delivered, " + Grouped(record.Count(Account::Left)) + L" left behind";
}

Telling TellingOf(ReportForm form) {
    switch (form) {
    case ReportForm::Table:
        return Telling::Everything;
    case ReportForm::Quiet:
        return Telling::Failures;
    default:
        return Telling::Nothing;
    }
}

void PrintFailure(const std::wstring& message) { Console::Line(L"failed: " + base::OnOneLine(message)); }

void PrintShown(const RunRecord& record) {
    if (record.failure) return;
    std::ranges::for_each(record.messages, &PrintFailure);
}

void PrintUnlisted(const std::vector<Outcome>& unlisted) {
    for (const Outcome& folder : unlisted)
        Console::Line(L"The outbox cannot be listed as a whole: " + folder.reason);
}

void PrintReport(const RunRecord& record, ReportForm form) {
    switch (form) {
    case ReportForm::Table:
        return PrintTable(record);
    case ReportForm::Quiet:
        return PrintWhatFailed(record);
    case ReportForm::Line:
        return Console::Line(LineOf(record));
    case ReportForm::Json:
        return PrintJson(record);
    }
}
