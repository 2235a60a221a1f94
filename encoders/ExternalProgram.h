// What the encoders need to start their programs.
#pragma once

#include <string>

/// The framework's program folder, where the programs lie unless the settings say otherwise. Throws a
/// failure.
std::wstring RegisteredProgramFolder();

/// A path as an argument: in double quotes. Separators at the end are doubled, or the last one would take
/// the closing quote as its own.
std::wstring Quoted(const std::wstring& path);
