// See OutcomeWords.h.
#include "host/cycle/OutcomeWords.h"

#include <algorithm>
#include <array>

namespace {

constexpr auto kWords = std::to_array<StateWords>({
    {PacketState::Sent, L"sent", L"sent", Account::Sent},
    {PacketState::Delivered, L"delivered", L"delivered", Account::Delivered},
    {PacketState::NotAdded, L"not added", L"not_added", Account::Left},
    {PacketState::InOutbox, L"stays in outbox", L"in_outbox", Account::Left},
    {PacketState::Waiting, L"waiting in send folder", L"waiting", Account::Left},
    {PacketState::Gone, L"gone from send folder", L"gone", Account::Left},
    {PacketState::NotReceived, L"stays at remote side", L"not_received", Account::Left},
    {PacketState::NotDelivered, L"not delivered", L"not_delivered", Account::Left},
    {PacketState::WouldSend, L"would be sent", L"would_send", Account::Sent},
    {PacketState::WouldReceive, L"would be received and delivered", L"would_receive", Account::Delivered},
    {PacketState::WouldDeliver, L"would be delivered", L"would_deliver", Account::Delivered},
});

}  // namespace

const StateWords& WordsOf(PacketState state) { return *std::ranges::find(kWords, state, &StateWords::state); }

const StateWords* WordsOfName(std::wstring_view name) {
    const auto found = std::ranges::find(kWords, name, &StateWords::name);
    return found == kWords.end() ? nullptr : &*found;
}

const wchar_t* TextOf(Direction direction) { return direction == Direction::Out ? L"out" : L"in"; }
