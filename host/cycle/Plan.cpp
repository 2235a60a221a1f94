// See Plan.h.
#include "host/cycle/Plan.h"

#include <set>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Text.h"
#include "host/cycle/AwaitedForms.h"
#include "host/cycle/ReceivedFiles.h"
#include "host/cycle/WaitingPackets.h"

namespace {

class Planner {
public:
    explicit Planner(const Settings& settings) : m_settings(settings), m_ledger(settings) {}

    Plan Make();

private:
    void PlanOutbox();
    void PlanSending(const std::vector<base::TreeFile>& files);
    void PlanReceiving();
    void PlanDelivery(const base::TreeFile& file);
    void Doubt(std::wstring what) { m_plan.unknown.push_back(std::move(what)); }

    const Settings& m_settings;
    PacketLedger m_ledger;
    std::set<std::wstring> m_leaving;  ///< packets that would be sent, in capitals
    Plan m_plan;
};

Plan Planner::Make() {
    PlanOutbox();
    PlanSending(SendFiles(m_settings));
    PlanSending(OlderFiles(m_settings));
    PlanReceiving();
    for (const base::TreeFile& file : ReceivedFiles(m_settings))
        PlanDelivery(file);
    for (const base::TreeFile& file : AwaitingFiles(m_settings))
        m_ledger.ReportTravelling(Direction::In, file, PacketState::WouldDeliver,
                                  L"if no older version is offered any more");
    m_plan.outcomes = m_ledger.Outcomes();
    return std::move(m_plan);
}

void Planner::PlanOutbox() {
    const std::vector<base::TreeFile> files = OutboxFiles(m_settings, m_ledger);
    const OutboxObjections objections(files, m_settings, m_ledger);
    for (const base::TreeFile& file : files) {
        if (const auto objection = objections.To(file)) {
            m_ledger.ReportInOutbox(file, PacketState::NotAdded, *objection);
            continue;
        }
        m_leaving.insert(base::Upper(file.RelativePath()));
        m_ledger.ReportInOutbox(file, PacketState::WouldSend, {});
    }
}

/// A newer version takes the place of one that waits.
void Planner::PlanSending(const std::vector<base::TreeFile>& files) {
    for (const base::TreeFile& file : files)
        if (m_leaving.insert(base::Upper(m_ledger.PacketIn(file).RelativePath())).second)
            m_ledger.ReportTravelling(Direction::Out, file, PacketState::WouldSend);
}

void Planner::PlanReceiving() {
    if (m_settings.HasServer()) return Doubt(L"What the server holds is known only when a run lists it.");
    m_plan.failure = WhyNothingIsReceived(m_settings);
    if (m_plan.failure) return;
    if (!FileSystem::FolderExists(m_settings.remoteReceive)) return Doubt(Unseen(m_settings));
    for (const base::TreeFile& file : OfferedFiles(m_settings))
        m_ledger.ReportTravelling(Direction::In, file, PacketState::WouldReceive);
}

void Planner::PlanDelivery(const base::TreeFile& file) {
    std::optional<std::wstring> objection;
    try {
        objection = DeliveryObjection(file, m_settings, m_ledger);
    } catch (const base::Error& error) {
        objection = error.failure().description;
    }
    m_ledger.ReportTravelling(Direction::In, file,
                              objection ? PacketState::NotDelivered : PacketState::WouldDeliver,
                              objection.value_or(L""));
}

}  // namespace

Plan PlanCycle(const Settings& settings) { return Planner(settings).Make(); }
