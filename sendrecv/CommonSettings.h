// What every sender/receiver does with its host's settings in the same way.
#pragma once

#include <string>
#include <string_view>

/// Stores a local folder, and reports when it cannot be read and written. source: of the report when
/// the test itself fails.
void StoreTestedFolder(std::wstring& folder, const std::wstring& value, bool supressMsg,
                       std::wstring_view source);
