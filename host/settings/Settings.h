// Settings of one installation, as values.
#pragma once

#include <string>

enum class Role { Field, Enterprise };
enum class Transport { Folder, Ftp, Https };
enum class EncoderKind { None, Zip, XDelta };

/// What is only handed on to an encoder stays text.
struct EncoderSettings {
    std::wstring inExtension;
    std::wstring outExtension;
    std::wstring timeout;        ///< seconds
    std::wstring programFolder;  ///< of the programs that the encoder starts
};
struct ZipSettings : EncoderSettings {
    std::wstring compressionLevel;
};
struct XDeltaSettings : EncoderSettings {
    std::wstring referencePath;  ///< empty for the one that the registry names
};

struct Password {
    std::wstring plain;
};

/// All local paths are absolute.
struct Settings {
    std::wstring file;  ///< from which they come
    Role role = Role::Field;
    std::wstring applicationName;
    Transport transport = Transport::Folder;
    bool userInterface = false;
    std::wstring patience;  ///< in seconds
    bool backups = false;
    EncoderKind encoder = EncoderKind::None;  ///< of packets that are sent
    std::wstring outbox;
    std::wstring sent;  ///< empty when sent files are not kept
    std::wstring inbox;
    std::wstring send;
    std::wstring receive;
    std::wstring
        remoteSend;  ///< as remoteReceive a path on the server unless packets travel through a folder
    std::wstring remoteReceive;
    std::wstring ftpServer;
    std::wstring ftpUser;
    Password ftpPassword;
    std::wstring httpsServer;
    std::wstring httpsUser;
    Password httpsPassword;
    std::wstring httpsLogin;
    std::wstring httpsClientCertificate;
    std::wstring httpsPins;
    std::wstring httpsProxy;
    std::wstring httpsProxyUser;
    Password httpsProxyPassword;
    ZipSettings zip;
    XDeltaSettings xdelta;
    std::wstring logFile;  ///< empty for none
    std::wstring logSize;  ///< kilobytes; 0 for no limit
    std::wstring logKept;  ///< number of files; 0 for all

    /// Settings of the encoder of packets that are sent; null when they travel as they are.
    const EncoderSettings* ChosenEncoder() const {
        if (encoder == EncoderKind::Zip) return &zip;
        return encoder == EncoderKind::XDelta ? &xdelta : nullptr;
    }
    /// Whether the remote folders are paths on a server.
    bool HasServer() const { return transport != Transport::Folder; }
    /// Where a user finds out why something failed.
    std::wstring LogReference() const { return L"see " + (logFile.empty() ? L"the event log" : logFile); }
};
