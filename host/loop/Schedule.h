// When the next cycle comes. Portable.
#pragma once

#include <chrono>

/// After a cycle that went well the interval; after each further one that failed twice the wait before, up to
/// an hour or the interval, whichever is longer. Each wait is up to a tenth shorter or longer by chance:
/// computers that were switched on together, or lost the same server, must not come together for good.
class Schedule {
public:
    using Wait = std::chrono::milliseconds;

    explicit Schedule(std::chrono::seconds interval) : m_interval(interval), m_wait(interval) {}

    /// chance: from 0 to 1.
    Wait AfterSuccess(double chance);
    Wait AfterFailure(double chance);
    /// Before the first cycle, where nobody waits for it.
    Wait BeforeFirst(double chance) const;
    /// Of all waits with an interval.
    static Wait Longest(std::chrono::seconds interval);

private:
    const std::chrono::seconds m_interval;
    std::chrono::seconds m_wait;
};
