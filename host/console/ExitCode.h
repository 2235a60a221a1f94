// What the program tells whoever started it.
#pragma once

enum ExitCode : int {
    kAllDelivered = 0,
    kSomethingLeft = 1,
    kBadUsage = 2,
};
