// The words for what became of packets: those that users see, and those that programs read.
#pragma once

#include "host/cycle/PacketLedger.h"

/// What the summary of a run counts a packet among.
enum class Account { Sent, Delivered, Left };

struct StateWords {
    PacketState state;
    const wchar_t* text;
    const wchar_t* name;  ///< for programs; it never changes
    Account account;
};

const StateWords& WordsOf(PacketState state);
/// The state of a name; null for a name of none.
const StateWords* WordsOfName(std::wstring_view name);

const wchar_t* TextOf(Direction direction);
