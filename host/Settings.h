// Settings of one installation: what its settings file says, checked.
#pragma once

#include <exception>
#include <string>
#include <utility>
#include <vector>

enum class Role { Field, Enterprise };
enum class Transport { Folder, Ftp };

enum class EncoderKind { None, Zip, XDelta };

/// One encoder: what the host itself needs to know, and its property set as names and values.
struct EncoderSettings {
    std::wstring inExtension;
    std::wstring outExtension;
    std::wstring programFolder;
    std::vector<std::pair<std::wstring, std::wstring>> properties;
};

/// All local paths are absolute.
struct Settings {
    Role role = Role::Field;
    std::wstring applicationName;
    bool userInterface = false;
    bool backups = false;
    EncoderKind encoder = EncoderKind::None;  ///< of packets that are sent
    EncoderSettings zip;
    EncoderSettings xdelta;
    std::wstring outbox;
    std::wstring sent;  ///< empty when sent files are not kept
    std::wstring inbox;
    std::wstring send;
    std::wstring receive;
    Transport transport = Transport::Folder;
    std::wstring remoteSend;  ///< as remoteReceive a path on the server when packets travel through FTP
    std::wstring remoteReceive;
    std::wstring ftpServer;
    std::wstring ftpUser;
    std::wstring ftpPassword;        ///< plain
    bool fileTellsPassword = false;  ///< the settings file holds it plain, too
    std::wstring logFile;            ///< empty for none
};

/// Thrown for settings that cannot be used; each problem names its key.
class SettingsError : public std::exception {
public:
    explicit SettingsError(std::vector<std::wstring> problems) : m_problems(std::move(problems)) {}

    const std::vector<std::wstring>& Problems() const noexcept { return m_problems; }
    const char* what() const noexcept override { return "SettingsError"; }

private:
    std::vector<std::wstring> m_problems;
};

/// Throws SettingsError.
Settings ReadSettings(const std::wstring& file);

/// Packets travel in this way. Throws SettingsError.
void CheckTransport(const Settings& settings, Transport transport, const std::wstring& file);
/// Looks at the disk: local folders are no files, the outbox is there. Throws SettingsError.
void CheckFolders(const Settings& settings, const std::wstring& file);
/// The programs that the chosen encoder needs are there. Throws SettingsError.
void CheckPrograms(const Settings& settings, const std::wstring& file);
/// The log file can be written. Throws SettingsError.
void CheckLogFile(const Settings& settings, const std::wstring& file);

/// Where a user finds out why something failed.
std::wstring LogReference(const Settings& settings);

/// Writes the FTP server, its login and the remote folders into the file, the password enciphered; comments
/// and other keys stay. Throws base::Error, and SettingsError when the file could not be read again.
void WriteFtpSettings(const Settings& settings, const std::wstring& file);
