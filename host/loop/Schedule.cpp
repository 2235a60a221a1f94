// See Schedule.h.
#include "host/loop/Schedule.h"

#include <algorithm>

namespace {

constexpr double kScatter = 0.1;

std::chrono::seconds LongestMean(std::chrono::seconds interval) {
    return std::max<std::chrono::seconds>(interval, std::chrono::hours(1));
}

Schedule::Wait Part(std::chrono::seconds wait, double part) {
    return std::chrono::duration_cast<Schedule::Wait>(wait * part);
}

Schedule::Wait Scattered(std::chrono::seconds wait, double chance) {
    return Part(wait, 1 - kScatter + 2 * kScatter * chance);
}

}  // namespace

Schedule::Wait Schedule::AfterSuccess(double chance) {
    m_wait = m_interval;
    return Scattered(m_wait, chance);
}

Schedule::Wait Schedule::AfterFailure(double chance) {
    m_wait = std::min(2 * m_wait, LongestMean(m_interval));
    return Scattered(m_wait, chance);
}

Schedule::Wait Schedule::BeforeFirst(double chance) const { return Part(m_interval, kScatter * chance); }

Schedule::Wait Schedule::Longest(std::chrono::seconds interval) {
    return Scattered(LongestMean(interval), 1);
}
