// Keeps the record of a run from its beginning to its end.
#pragma once

#include "host/cycle/Cycle.h"
#include "host/cycle/Plan.h"
#include "host/record/RunRecord.h"

/// The record of a run that begins now in this process. settings: their file.
RunRecord BeginRecord(const std::wstring& settings);

/// The run has ended, each in its way.
void EndRecord(RunRecord& record, const CycleResult& result);
void EndRecord(RunRecord& record, const Plan& plan);
/// No cycle took place.
void EndRecord(RunRecord& record, const std::wstring& failure);
