// What the host writes for programs: one JSON object on a line. docs/json.md describes the objects.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/doctor/Finding.h"
#include "host/record/RunRecord.h"

namespace json {

/// All texts are wide, without line ends.
std::wstring Packet(const Outcome& outcome);
std::wstring Run(const RunRecord& record);
/// unlisted: folders of the outbox that cannot be listed. failure: why something could not be found out.
std::wstring Status(const std::wstring& settings, const LastRun& last,
                    const std::vector<WaitingPacket>& waiting, const std::vector<Outcome>& unlisted,
                    const std::optional<std::wstring>& failure);
std::wstring Check(const Finding& finding);

/// A run with its packets, as it is remembered: UTF-8.
std::string Remembered(const RunRecord& record);
/// Nothing for what is no such text.
std::optional<RunRecord> Remember(std::string_view text);

}  // namespace json
