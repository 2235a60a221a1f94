// Names of packets on their way: what the encoders add to them.
#pragma once

#include <string>

#include "host/settings/Settings.h"

/// Whether the chosen encoder takes the packets of this name.
bool IsEncoded(const Settings& settings, const std::wstring& fileName);

/// The packet that a file in the send or receive folder holds: "x.mdb" for "x.mdb.afz" and
/// "x.mdb~Base.axd", the name itself for a file that travels as it is.
std::wstring PacketOf(const Settings& settings, const std::wstring& fileName);
