// What a cycle did, for the user.
#pragma once

#include "host/Cycle.h"

void PrintReport(const CycleResult& result);
