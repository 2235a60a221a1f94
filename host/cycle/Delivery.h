// Hands what lies in the receive folder over to the inbox.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "base/FolderTree.h"
#include "host/cycle/AwaitedForms.h"
#include "host/cycle/Hindrance.h"
#include "host/cycle/PacketLedger.h"
#include "host/session/Session.h"

class Delivery {
public:
    /// All must live on.
    Delivery(Session& session, const Settings& settings, const AwaitedForms& awaited, PacketLedger& ledger)
        : m_session(session), m_settings(settings), m_awaited(awaited), m_ledger(ledger) {}

    /// Reports what became of each file. waiting: what the receive folder held before packets were received.
    /// Returns what of the backups could not be kept.
    Hindrance DeliverAll(const base::TreeSnapshot& waiting);

private:
    void DeliverFolder(const std::wstring& subFolder, const base::TreeSnapshot& waiting);
    LONG List(const std::wstring& subFolder, const base::TreeSnapshot& waiting,
              std::vector<base::TreeFile>& files);
    std::vector<base::TreeFile> Judge(const std::wstring& subFolder, const base::TreeSnapshot& waiting);
    void LetDecodersReplace(const std::vector<base::TreeFile>& files, std::wstring& reason) const;
    std::set<std::wstring> DeliverFiles(const std::wstring& subFolder, LONG count, std::wstring& reason);
    bool IsInInbox(const base::TreeFile& packet, const base::TreeFile& received) const;
    void NoteMissingBackup(const base::TreeFile& delivered);
    void Report(const base::TreeFile& file, const std::set<std::wstring>& names, const std::wstring& reason);

    Session& m_session;
    const Settings& m_settings;
    const AwaitedForms& m_awaited;
    PacketLedger& m_ledger;
    Hindrance m_noBackup;
};
