// The commands of the program. Each tells the user what it did and returns the exit code; it throws
// SettingsError for settings that it cannot work with, and base::Error for what it cannot go on without.
#pragma once

struct Options;

namespace commands {

/// Writes settings for both sides.
int Init(const Options& options);
/// Runs one cycle.
int Run(const Options& options);
/// Runs cycles again and again.
int RunSteadily(const Options& options);
/// Manage the service that runs cycles again and again; the last one is that service.
int InstallService(const Options& options);
int RemoveService(const Options& options);
int StartService(const Options& options);
int StopService(const Options& options);
int RunService(const Options& options);
/// Shows how the last run ended and what waits, in one look.
int Status(const Options& options);
/// Examines an installation, and tells what to do.
int Doctor(const Options& options);
/// Shows what waits in the folders of an installation.
int List(const Options& options);
/// Lists, restores or destroys the backups of received packets.
int Backups(const Options& options);
/// Shows the mobile configuration of both sides; passwords are not shown.
int Config(const Options& options);
/// Tests the server of an installation.
int Verify(const Options& options);
/// Gives back what an installation that will not receive any more has claimed on a WebDAV server.
int Release(const Options& options);
/// Writes the password of the server into the settings file, enciphered by Windows.
int Password(const Options& options);
/// Edits the FTP settings in the dialog of the sender/receiver and writes what was applied into the file.
int EditSettings(const Options& options);
/// Shows the transport at work: two installations exchange packets, and every file is compared.
int Demo(const Options& options);

}  // namespace commands
