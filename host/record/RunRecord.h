// One run, as it is told to users and programs, and remembered.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/FileTime.h"
#include "host/cycle/OutcomeWords.h"

enum class RunEnd {
    Running,     ///< or ended in the middle
    Complete,    ///< nothing is left behind
    Incomplete,  ///< something could not be moved
    Stopped,     ///< by the user
    NoCycle,     ///< none took place
};

struct RunRecord {
    std::wstring settings;  ///< their file
    bool isDryRun = false;
    base::FileTime started{};
    base::FileTime ended{};                        ///< of a run that has ended
    std::uint32_t process = 0;                     ///< its identifier
    std::optional<std::chrono::seconds> interval;  ///< of the loop whose cycle it is
    RunEnd end = RunEnd::Running;
    std::optional<std::wstring> failure;  ///< of the run as a whole
    std::vector<std::wstring> messages;   ///< what else there is to know of it
    std::vector<Outcome> outcomes;
    bool isWhole = true;  ///< or its outcomes could not be remembered; messages tells why

    std::size_t Count(Account account) const {
        std::size_t count = 0;
        for (const Outcome& outcome : outcomes)
            if (WordsOf(outcome.state).account == account) ++count;
        return count;
    }
};

/// The last run, and what is known of it now.
struct LastRun {
    std::optional<RunRecord> record;  ///< nothing where none is remembered, or can be read
    bool isUnderWay = false;
    bool isOverdue = false;     ///< its end where it is under way, or else the next one, of a loop
    bool isUnreadable = false;  ///< something is remembered, but cannot be read

    bool HasEndedInTheMiddle() const { return record && record->end == RunEnd::Running && !isUnderWay; }
};

/// A packet that waits here for its next step.
struct WaitingPacket {
    std::wstring place;  ///< the name of the folder's setting
    std::wstring packet;
    std::uint64_t size = 0;  ///< bytes of the file that holds it
    base::FileTime saved{};
};
