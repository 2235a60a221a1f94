// See Json.h.
#include "host/record/Json.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "base/IsoTime.h"
#include "base/Utf8.h"

namespace json {

namespace {

/// Fields keep the order in which they are written.
using Object = nlohmann::ordered_json;

struct EndName {
    RunEnd end;
    const char* name;
};
constexpr auto kEnds = std::to_array<EndName>({{RunEnd::Running, "running"},
                                               {RunEnd::Complete, "complete"},
                                               {RunEnd::Incomplete, "incomplete"},
                                               {RunEnd::Stopped, "stopped"},
                                               {RunEnd::NoCycle, "no_cycle"}});

Object Text(const std::optional<std::wstring>& text) { return text ? Object(base::ToUtf8(*text)) : Object(); }

/// Null where there is nothing to say.
Object TextIfAny(const std::wstring& text) { return text.empty() ? Object() : Object(base::ToUtf8(text)); }

Object Number(const std::optional<std::uint64_t>& number) { return number ? Object(*number) : Object(); }

/// Null where nobody knows.
Object CountIn(const RunRecord& record, Account account) {
    return record.isWhole ? Object(record.Count(account)) : Object();
}

Object Texts(const std::vector<std::wstring>& texts) {
    Object array = Object::array();
    for (const std::wstring& text : texts)
        array.push_back(base::ToUtf8(text));
    return array;
}

Object ObjectOf(const Outcome& outcome) {
    return {{"type", "packet"},
            {"direction", base::ToUtf8(TextOf(outcome.direction))},
            {"packet", base::ToUtf8(outcome.packet)},
            {"size", Number(outcome.size)},
            {"travel_size", Number(outcome.travelSize)},
            {"state", base::ToUtf8(WordsOf(outcome.state).name)},
            {"reason", TextIfAny(outcome.reason)}};
}

Object ObjectOf(const RunRecord& record) {
    const bool hasEnded = record.end != RunEnd::Running;
    return {{"type", "run"},
            {"settings", base::ToUtf8(record.settings)},
            {"dry_run", record.isDryRun},
            {"started", base::IsoTime(record.started)},
            {"ended", hasEnded ? Object(base::IsoTime(record.ended)) : Object()},
            {"process", record.process},
            {"interval", record.interval ? Object(record.interval->count()) : Object()},
            {"result", std::ranges::find(kEnds, record.end, &EndName::end)->name},
            {"sent", CountIn(record, Account::Sent)},
            {"delivered", CountIn(record, Account::Delivered)},
            {"left", CountIn(record, Account::Left)},
            {"failure", Text(record.failure)},
            {"messages", Texts(record.messages)}};
}

Object ObjectOf(const WaitingPacket& packet) {
    return {{"place", base::ToUtf8(packet.place)},
            {"packet", base::ToUtf8(packet.packet)},
            {"size", packet.size},
            {"saved", base::IsoTime(packet.saved)}};
}

template <class Value>
Object ObjectsOf(const std::vector<Value>& values) {
    Object array = Object::array();
    for (const Value& value : values)
        array.push_back(ObjectOf(value));
    return array;
}

Object WithPackets(const RunRecord& record) {
    Object object = ObjectOf(record);
    object["packets"] = record.isWhole ? ObjectsOf(record.outcomes) : Object();
    return object;
}

std::wstring Line(const Object& object) { return base::FromUtf8(object.dump()); }

// --- Reading ----------------------------------------------------------------------------------------

// What is missing, or of another kind, throws.

std::wstring TextIn(const Object& object, const char* name) {
    const Object& value = object.at(name);
    return value.is_null() ? std::wstring() : base::FromUtf8(value.get<std::string>());
}

std::optional<std::uint64_t> NumberIn(const Object& object, const char* name) {
    const Object& value = object.at(name);
    return value.is_null() ? std::nullopt : std::optional(value.get<std::uint64_t>());
}

base::FileTime TimeIn(const Object& object, const char* name) {
    const Object& value = object.at(name);
    return value.is_null() ? base::FileTime() : base::FromIsoTime(value.get<std::string>()).value();
}

/// Earlier versions wrote down none.
std::optional<std::chrono::seconds> IntervalIn(const Object& object) {
    const Object value = object.value("interval", Object());
    return value.is_null() ? std::nullopt : std::optional<std::chrono::seconds>(value.get<std::uint32_t>());
}

Outcome OutcomeIn(const Object& object) {
    const StateWords* const words = WordsOfName(TextIn(object, "state"));
    return {TextIn(object, "direction") == TextOf(Direction::Out) ? Direction::Out : Direction::In,
            TextIn(object, "packet"),
            NumberIn(object, "size"),
            NumberIn(object, "travel_size"),
            words ? words->state : PacketState::Waiting,
            TextIn(object, "reason")};
}

RunRecord RecordIn(const Object& object) {
    RunRecord record;
    record.settings = TextIn(object, "settings");
    record.started = TimeIn(object, "started");
    record.ended = TimeIn(object, "ended");
    record.process = object.at("process").get<std::uint32_t>();
    record.interval = IntervalIn(object);
    const auto result = object.at("result").get<std::string>();
    for (const EndName& end : kEnds)
        if (result == end.name) record.end = end.end;
    if (!object.at("failure").is_null()) record.failure = TextIn(object, "failure");
    for (const Object& message : object.at("messages"))
        record.messages.push_back(base::FromUtf8(message.get<std::string>()));
    record.isWhole = !object.at("packets").is_null();
    for (const Object& packet : object.at("packets"))
        record.outcomes.push_back(OutcomeIn(packet));
    return record;
}

}  // namespace

std::wstring Packet(const Outcome& outcome) { return Line(ObjectOf(outcome)); }

std::wstring Run(const RunRecord& record) { return Line(ObjectOf(record)); }

std::wstring Status(const std::wstring& settings, const LastRun& last,
                    const std::vector<WaitingPacket>& waiting, const std::vector<Outcome>& unlisted,
                    const std::optional<std::wstring>& failure) {
    return Line({{"type", "status"},
                 {"settings", base::ToUtf8(settings)},
                 {"under_way", last.isUnderWay},
                 {"overdue", last.isOverdue},
                 {"last_run", last.record ? WithPackets(*last.record) : Object()},
                 {"waiting", ObjectsOf(waiting)},
                 {"unlisted", ObjectsOf(unlisted)},
                 {"failure", Text(failure)}});
}

std::wstring Check(const Finding& finding) {
    return Line({{"type", "check"},
                 {"check", base::ToUtf8(finding.check)},
                 {"ok", finding.isGood},
                 {"what", base::ToUtf8(finding.what)},
                 {"advice", TextIfAny(finding.advice)}});
}

std::string Remembered(const RunRecord& record) { return WithPackets(record).dump() + "\n"; }

std::optional<RunRecord> Remember(std::string_view text) try {
    return RecordIn(Object::parse(text));
} catch (const std::exception&) {
    // Written by another version, or by somebody else.
    return std::nullopt;
}

}  // namespace json
