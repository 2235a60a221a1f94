// A figure of the benchmarks' table, as bench/run reads it. Portable.
#pragma once

#include <cstdio>

namespace bench {

/// What the same work costs somebody else.
struct Peer {
    const char* name;
    double value;
    double limit = 0;  ///< the largest ratio of ours to this that is good enough; 0 for none
};

/// Smaller values are better.
inline void PrintRow(const char* figure, const char* unit, double ours, const Peer& peer) {
    std::printf("row\t%s\t%s\t%.6g\t%s\t%.6g\t%.6g\n", figure, unit, ours, peer.name, peer.value, peer.limit);
    std::fflush(stdout);
}

/// A figure that has no peer, but a limit of its own; 0 for none.
inline void PrintRow(const char* figure, const char* unit, double ours, double limit) {
    PrintRow(figure, unit, ours, {"", 0, limit});
}

}  // namespace bench
