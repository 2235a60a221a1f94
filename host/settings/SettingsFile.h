// Settings files: reading them, and writing them with the comments that explain them.
#pragma once

#include <string>

#include "host/settings/SettingsError.h"

/// What a file says, checked. Throws SettingsError.
Settings ReadSettings(const std::wstring& file);

/// What the table says of settings that have no values of their own.
Settings DefaultSettings();

/// A new settings file in UTF-8, with a comment for each setting.
std::string NewSettingsText(const Settings& settings);

/// What a file says, without its passwords, which are empty: for whoever needs none, and perhaps cannot
/// decipher them.
Settings ReadSettingsWithoutPasswords(const std::wstring& file);
/// A password of the file that only one account can decipher; null where there is none.
const Setting* PasswordOfAccount(const std::wstring& file);
/// What a user types to write a password that every account of the computer can decipher.
std::wstring CommandOfPassword(const std::wstring& file, const Setting& setting);
/// Writes a password, in the form in which it is stored, into the settings' file, of which all else stays.
/// Throws base::Error, and SettingsError when the file cannot be read; then it stays as it is.
void WritePassword(const std::wstring& file, const Setting& setting, const std::wstring& stored);

/// The file does not say any more what an editor began with.
class SettingsChanged : public SettingsError {
public:
    using SettingsError::SettingsError;
};
/// Writes the FTP server, its login and the remote folders into the settings' file, the password enciphered
/// as it was before; comments and other settings stay. began: what the file said when these were edited;
/// throws SettingsChanged when it says something else of them now. Throws base::Error, and SettingsError when
/// the file could not be read again. Then it stays as it is.
void WriteFtpSettings(const Settings& settings, const Settings& began);
