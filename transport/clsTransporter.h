// The transporter: encodes packets into the send folder, drives the sender/receiver, delivers what was
// received.
#pragma once

#include <wrl/client.h>

#include <optional>
#include <string>
#include <vector>

#include "base/FileSystem.h"
#include "base/WriteBlock.h"
#include "com/Result.h"
#include "com/server/ServerObject.h"
#include "common/Report.h"
#include "transport/BackupMap.h"
#include "znTransporter.h"

class clsTransporter final
    : public com::ServerObject<com::Dual<_clsTransporter>, IZNTransporter, IZNTransporter2> {
public:
    // IZNTransporter
    STDMETHODIMP get_Encoder(IZNEncoder** Value) override { return com::Return(Value, m_shownEncoder); }
    STDMETHODIMP putref_Encoder(IZNEncoder* Value) override;
    STDMETHODIMP get_SenderReceiver(IZNSenderReceiver** Value) override {
        return com::Return(Value, m_senderReceiver);
    }
    STDMETHODIMP putref_SenderReceiver(IZNSenderReceiver* Value) override {
        return com::Assign(m_senderReceiver, Value);
    }
    STDMETHODIMP Add(BSTR FileName, BSTR SubFolder, VARIANT_BOOL* Result) override;
    STDMETHODIMP SendReceive(BSTR Argument, IUnknown* Progress, VARIANT_BOOL* Result) override;
    STDMETHODIMP ResetLocalReceiveFiles(BSTR SubFolder, LONG* Count) override;
    STDMETHODIMP NextLocalReceiveFile(BSTR DestinationFolder, BSTR* FileName, VARIANT_BOOL* Result) override;
    STDMETHODIMP ResetLocalSendFiles(BSTR SubFolder, LONG* Count) override;
    STDMETHODIMP NextLocalSendFile(BSTR* FileName, VARIANT_BOOL* Result) override;
    // IZNTransporter2
    STDMETHODIMP get_BackupEnabled(VARIANT_BOOL* Value) override {
        return com::Return(Value, m_bBackupEnabled);
    }
    STDMETHODIMP put_BackupEnabled(VARIANT_BOOL Value) override {
        return com::Assign(m_bBackupEnabled, Value);
    }
    STDMETHODIMP Reset() override;
    STDMETHODIMP Next(BSTR* PacketId) override;
    STDMETHODIMP BackupExists(BSTR PacketId, VARIANT_BOOL* Result) override;
    STDMETHODIMP RestoreBackup(BSTR PacketId, VARIANT_BOOL* Result) override;
    STDMETHODIMP DestroyBackup(BSTR PacketId, VARIANT_BOOL* Result) override;

private:
    /// A list of full paths with the cursor of the member that walks it.
    struct FileList {
        std::vector<std::wstring> files;
        size_t next = 0;

        /// Starts a new list and returns its length.
        LONG Reset(std::vector<std::wstring> newFiles);
        std::optional<std::wstring> Next();
    };
    /// What a received file became, and the name to hand to the host.
    struct Delivery {
        bool done = false;
        std::wstring fileName;
    };
    using ExtensionMember = HRESULT (STDMETHODCALLTYPE IZNEncoder::*)(BSTR*);

    bool IZNTransporter_Add(const std::wstring& FileName, const std::wstring& SubFolder);
    bool IZNTransporter_SendReceive(BSTR Argument, IUnknown* Progress);
    LONG IZNTransporter_ResetLocalReceiveFiles(const std::wstring& SubFolder);
    bool IZNTransporter_NextLocalReceiveFile(const std::wstring& DestinationFolder, std::wstring& FileName);
    LONG IZNTransporter_ResetLocalSendFiles(const std::wstring& SubFolder);
    bool IZNTransporter_NextLocalSendFile(std::wstring& FileName);

    void IZNTransporter2_Reset();
    std::wstring IZNTransporter2_Next();
    bool IZNTransporter2_BackupExists(const std::wstring& PacketId) const;
    bool IZNTransporter2_RestoreBackup(const std::wstring& PacketId);
    bool IZNTransporter2_DestroyBackup(const std::wstring& PacketId);

    /// Whether the member can work; reports why not.
    bool SenderReceiverSet(const Procedure& member) const;
    /// The sender/receiver; throws while none is set.
    IZNSenderReceiver* Remote() const;
    std::wstring LocalSendFolder() const;
    std::wstring LocalReceiveFolder() const;
    bool ProvideFolder(const std::wstring& folder) const;
    /// Null when no encoder takes the file.
    Microsoft::WRL::ComPtr<IZNEncoder> EncoderFor(ExtensionMember extensionOf, const std::wstring& fileName);
    static std::vector<std::wstring> InitFileList(const std::wstring& Folder);
    Delivery Deliver(const Procedure& member, const std::wstring& file,
                     const std::wstring& destinationFolder);
    static Delivery Decode(IZNEncoder* encoder, const std::wstring& file, const FileSystem::WriteBlock& block,
                           const std::wstring& destinationFolder);
    static Delivery MoveUnchanged(const Procedure& member, const std::wstring& file,
                                  const std::wstring& destinationFolder);
    static Delivery MoveOver(const Procedure& member, const std::wstring& file, const std::wstring& target,
                             const std::wstring& backup);
    std::optional<std::wstring> BackupOf(const std::wstring& PacketId) const;
    void TakeBackup(const std::wstring& file, const std::wstring& receiveFolder);
    void AddToList(const std::wstring& Folder);

    const bool SupressMsg = false;
    std::vector<Microsoft::WRL::ComPtr<IZNEncoder>> m_encoders;  ///< of both ways, in order of assignment
    Microsoft::WRL::ComPtr<IZNEncoder> m_shownEncoder;           ///< assigned or chosen last
    Microsoft::WRL::ComPtr<IZNSenderReceiver> m_senderReceiver;
    FileList m_sendList;
    FileList m_receiveList;
    bool m_bBackupEnabled = false;
    BackupMap m_backups;
};
