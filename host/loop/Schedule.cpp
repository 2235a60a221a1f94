// See Schedule.h.
#include "host/loop/Schedule.h"

#include <algorithm>

namespace {

constexpr std::chrono::seconds kLongest = std::chrono::hours(1);
constexpr double kScatter = 0.1;

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
    m_wait = std::min(2 * m_wait, std::max(m_interval, kLongest));
    return Scattered(m_wait, chance);
}

Schedule::Wait Schedule::BeforeFirst(double chance) const { return Part(m_interval, kScatter * chance); }
