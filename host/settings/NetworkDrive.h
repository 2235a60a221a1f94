// Drives that stand for shares: they belong to the session of a user, and a service has none of them.
#pragma once

#include <optional>
#include <string>

/// What a service needs in the place of a path on such a drive. Nothing for every other path.
std::optional<std::wstring> NetworkDriveAdvice(const std::wstring& path);
