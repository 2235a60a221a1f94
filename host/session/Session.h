// The COM objects of one cycle, created and wired as the settings say.
#pragma once

#include <wrl/client.h>

#include <optional>
#include <string>
#include <vector>

#include "ftp/settings/FtpSite.h"
#include "host/session/WorkFolder.h"
#include "host/settings/SettingsTable.h"
#include "znTransporter.h"

/// The file that differences are made against: that of the settings, or else of the registry; empty for none.
/// The encoder, which is asked, needs its program. Throws base::Error.
std::wstring ReferenceInUse(const Settings& settings);

/// Its members throw base::Error.
class Session {
public:
    /// settings: must live on.
    explicit Session(const Settings& settings);

    /// True when the packet waits in the send folder.
    bool Add(const std::wstring& path, const std::wstring& subFolder);
    bool SendReceive(IUnknown* progress);
    /// Whether the user cancelled the login of the last SendReceive.
    bool LoginCancelled();
    /// Paths of the files that wait in a sub-folder of the send folder.
    std::vector<std::wstring> FilesToSend(const std::wstring& subFolder);
    /// Starts the list of received files of a sub-folder anew and returns their number.
    LONG ResetReceived(const std::wstring& subFolder);
    /// Path of the next one, now delivered, which may be empty; nothing when it could not be delivered.
    std::optional<std::wstring> DeliverNext(const std::wstring& destination);
    /// Ids of the packets in the backup folder, whether or not the settings ask for new backups.
    std::vector<std::wstring> PacketsWithBackup();
    /// False when there is no backup of the packet, or it cannot be moved or deleted; PacketsWithBackup comes
    /// first.
    bool RestoreBackup(const std::wstring& packetId);
    bool DestroyBackup(const std::wstring& packetId);

    /// Whether the remote side lets itself be connected to; the log tells why not.
    bool Connects();
    /// What fails of the FTP site; empty when it works. report: what was tested then, in lines.
    std::wstring VerifySite(std::wstring& report);
    /// Tries what a WebDAV server promises, and tells progress of each promise. False when something does not
    /// hold.
    bool VerifyServer(IUnknown* progress);
    /// Gives back what an installation has claimed on a WebDAV server; empty: tells progress of all that hold
    /// packets. False when something stays.
    bool ReleaseClaims(const std::wstring& installation, IUnknown* progress);
    /// Shows the settings dialog of the sender/receiver, and returns how it ended. site: what the dialog
    /// starts with, and leaves when it was applied; the password as documents hold it.
    ZNDialogEnd EditSite(FtpSite& site);

private:
    template <class Class>
    Microsoft::WRL::ComPtr<IZNEncoder> AddEncoder(const wchar_t* component, const Settings& settings,
                                                  Section section, const EncoderSettings& own,
                                                  const wchar_t* decodingProgram);
    void CreateSenderReceiver(const Settings& settings);
    void DemandWorkFolder() const;

    const Settings& m_settings;
    WorkFolder m_workFolder;
    std::wstring m_encodedEnding;  ///< what the chosen encoder adds to the name of a packet
    Microsoft::WRL::ComPtr<IZNTransporter> m_transporter;
    Microsoft::WRL::ComPtr<IZNTransporter2> m_backups;
    Microsoft::WRL::ComPtr<IZNSenderReceiver> m_senderReceiver;
};
