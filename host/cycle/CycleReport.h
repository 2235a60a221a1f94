// What a cycle did, for the user.
#pragma once

#include "host/cycle/Cycle.h"

void PrintReport(const CycleResult& result);
