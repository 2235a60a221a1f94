// Reads what FTP servers reply. Portable.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/FileTime.h"

/// The code that a reply ends with, "552"; one may begin with replies to earlier steps.
std::wstring ReplyCode(const std::wstring& reply);

/// Whether a reply tells, in any of its lines, that the data of a file began to flow.
bool HasDataFlowed(const std::wstring& reply);

/// Whether a reply to a search says that there is nothing: its list is complete without an entry, or there is
/// no such file. Of a whole folder that must be said in so many words: the folder may be missing.
bool TellsOfNothing(const std::wstring& reply, bool isWholeFolder);

/// What a reply to a command that asks for one property of a file tells of it; empty where it does not.
std::wstring FileStatusIn(const std::wstring& reply);
/// The bytes of a file, by such a status. Nothing for a text that is no number of 64 bits.
std::optional<std::uint64_t> SizeIn(std::wstring_view status);
/// When a file was written, by such a status: "20261231235959", in UTC. Nothing for a text that does not
/// begin so, and for times that no file has: before 1601.
std::optional<base::FileTime> TimeIn(std::wstring_view status);
