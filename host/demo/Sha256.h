// Check sums of files.
#pragma once

#include <string>

/// SHA-256 of a file's content, as hexadecimal text. Throws when the file cannot be read.
std::wstring Sha256(const std::wstring& path);
