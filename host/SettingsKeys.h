// The keys that a settings file may hold: one table for reading, checking and writing it.
#pragma once

#include <span>
#include <string>
#include <vector>

enum class Presence {
    Required,       ///< must be there and have a value
    RequiredEmpty,  ///< must be there, its value may be empty
    Optional,
};

enum class ValueKind {
    Text,
    Number,
    File,
    Reference,      ///< a file that differences are made against
    Extension,      ///< of file names, with its dot
    Folder,         ///< of packets: no two of them may overlap
    RemoteFolder,   ///< of packets: a folder, or a path on the FTP server
    ProgramFolder,  ///< of external programs
};

struct SettingsKey {
    const wchar_t* section;
    const wchar_t* name;
    Presence presence;
    ValueKind kind;
    std::vector<std::wstring> allowed;  ///< all values that are possible; empty for any
    const wchar_t* fallback;            ///< of an optional key
    const wchar_t* comment;             ///< lines that explain the key in a new settings file

    /// "[section] name", as messages name it.
    std::wstring Title() const;
};

std::span<const SettingsKey> SettingsKeys();
/// Whether the value is a path, which may be relative to the settings file.
bool IsPath(ValueKind kind);
/// Names of all sections, each once.
std::vector<std::wstring> SettingsSections();
/// Null when there is no such key; names are compared in any letter case.
const SettingsKey* FindSettingsKey(std::wstring_view section, std::wstring_view name);
