// Checks of settings beyond their file: what a command needs of the computer. All throw SettingsError.
#pragma once

#include <initializer_list>
#include <string>

#include "host/settings/Settings.h"

/// Packets travel through an FTP server.
void CheckFtp(const Settings& settings);
/// Packets travel through a WebDAV server.
void CheckHttps(const Settings& settings);
/// Packets travel through a server.
void CheckServer(const Settings& settings);
/// Packets do not travel through an FTP server: a service cannot use one.
void CheckNoFtpInService(const Settings& settings);
/// Neither the settings nor what they name lies on a network drive of the user: a service has none.
void CheckNoNetworkDrives(const Settings& settings);
/// Local folders are no files, the outbox is there.
void CheckFolders(const Settings& settings);
/// No folder of packets is, or lies in, another one, whatever their paths. Asks the disks and shares.
void CheckPlaces(const Settings& settings);
/// The program of the chosen encoder is there.
void CheckPrograms(const Settings& settings);
/// The log file can be written.
void CheckLogFile(const Settings& settings);

/// Settings that pass some of the checks, which are made in their order.
using SettingsChecks = std::initializer_list<void (*)(const Settings&)>;
Settings ReadSettings(const std::wstring& file, SettingsChecks checks);
Settings ReadSettingsWithoutPasswords(const std::wstring& file, SettingsChecks checks);
