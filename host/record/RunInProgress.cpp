// See RunInProgress.h.
#include "host/record/RunInProgress.h"

#include "base/WindowsTime.h"

namespace {

void End(RunRecord& record, RunEnd end) {
    record.end = end;
    record.ended = base::Now();
}

}  // namespace

RunRecord BeginRecord(const std::wstring& settings) {
    RunRecord record;
    record.settings = settings;
    record.started = base::Now();
    record.process = GetCurrentProcessId();
    return record;
}

void EndRecord(RunRecord& record, const CycleResult& result) {
    record.outcomes = result.outcomes;
    record.failure = result.transferFailure;
    record.messages = result.shownFailures;
    if (result.interrupted) return End(record, RunEnd::Stopped);
    End(record, result.Complete() ? RunEnd::Complete : RunEnd::Incomplete);
}

void EndRecord(RunRecord& record, const Plan& plan) {
    record.isDryRun = true;
    record.outcomes = plan.outcomes;
    record.failure = plan.failure;
    record.messages = plan.unknown;
    const bool isGood = record.Count(Account::Left) == 0 && !plan.failure;
    End(record, isGood ? RunEnd::Complete : RunEnd::Incomplete);
}

void EndRecord(RunRecord& record, const std::wstring& failure) {
    record.failure = failure;
    End(record, RunEnd::NoCycle);
}
