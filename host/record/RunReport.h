// What a run did, for whoever started it.
#pragma once

#include <string>
#include <vector>

#include "host/console/ConsoleProgress.h"
#include "host/record/RunRecord.h"

enum class ReportForm {
    Table,  ///< everything
    Quiet,  ///< only what could not be moved
    Line,   ///< one line
    Json,   ///< a JSON object for each packet, and one for the run
};

/// What of the transfer itself is told meanwhile.
Telling TellingOf(ReportForm form);

void PrintReport(const RunRecord& record, ReportForm form);

/// The line, of which the first packet that is left, and the first failure that was shown, stand for all of
/// them.
std::wstring LineOf(const RunRecord& record);

/// A failure that a run shows.
void PrintFailure(const std::wstring& message);
/// What the transfer showed of single packets, where it did not fail as a whole.
void PrintShown(const RunRecord& record);

/// Folders of the outbox that cannot be listed.
void PrintUnlisted(const std::vector<Outcome>& unlisted);

/// "1 sent, 2 delivered, 0 left behind".
std::wstring Summary(const RunRecord& record);
