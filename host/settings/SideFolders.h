// What a run keeps beside the send and the receive folder, where neither the transport nor the other side
// looks. Portable.
#pragma once

#include <array>
#include <string>

#include "host/settings/Settings.h"

struct SideFolder {
    std::wstring Settings::*folder;  ///< beside which it lies
    const wchar_t* ending;           ///< of that folder's name

    std::wstring Path(const Settings& settings) const { return settings.*folder + ending; }
};

/// Versions that newer ones replace in the send folder.
inline constexpr SideFolder kOlderVersions{&Settings::send, L".older"};
/// The backups, while packets are received.
inline constexpr SideFolder kKeptBackups{&Settings::receive, L".backups"};
/// What an older form of the same packet must precede, while others are delivered.
inline constexpr SideFolder kAwaitingOlder{&Settings::receive, L".waiting"};
/// What must not be delivered.
inline constexpr SideFolder kRefused{&Settings::receive, L".refused"};
/// What the transport through HTTPS knows of each folder, and what came of a packet so far.
inline constexpr SideFolder kSendThroughHttps{&Settings::send, L".https"};
inline constexpr SideFolder kReceiveThroughHttps{&Settings::receive, L".https"};

/// A file: what became of the last run.
inline constexpr SideFolder kStatus{&Settings::send, L".status"};
/// Files: held by the run that works with the folder.
inline constexpr SideFolder kSendLock{&Settings::send, L".lock"};
inline constexpr SideFolder kReceiveLock{&Settings::receive, L".lock"};

inline constexpr std::array kSideFolders = {kOlderVersions, kKeptBackups,      kAwaitingOlder,
                                            kRefused,       kStatus,           kSendLock,
                                            kReceiveLock,   kSendThroughHttps, kReceiveThroughHttps};
