// A host that runs for months: cycle after cycle in one process leaves nothing behind in it.
#include "tests/win/support/Library.h"
#include "tests/win/support/ProgressDouble.h"
#include "tests/win/support/Resources.h"

namespace tests {
namespace {

constexpr int kWarmUp = 50;
constexpr int kCycles = 2000;

/// One side of an exchange through two shared folders.
class Side {
public:
    Side(const Library& library, const TempFolder& temp, const std::wstring& name, const std::wstring& out,
         const std::wstring& in)
        : m_inbox(temp.Folder(name + L"\\inbox")),
          m_remote(library.Create<clsXCOPYSndRcv, IZNSenderReceiver>()),
          m_transporter(library.Create<clsTransporter, IZNTransporter>()) {
        m_remote->put_LocalSendFolder(In(temp.Folder(name + L"\\send")));
        m_remote->put_LocalReceiveFolder(In(temp.Folder(name + L"\\receive")));
        const auto settings =
            Properties({{L"RemoteSendFolder", temp.Folder(out)}, {L"RemoteReceiveFolder", temp.Folder(in)}});
        EXPECT_TRUE(Ask<bool>(&IZNSenderReceiver::Init, m_remote, settings.Get()));
        m_transporter->putref_SenderReceiver(m_remote.Get());
    }

    bool Add(const std::wstring& file) const {
        return Ask<bool>(&IZNTransporter::Add, m_transporter, file.c_str(), L"sub");
    }
    void Exchange() const {
        EXPECT_TRUE(Ask<bool>(&IZNTransporter::SendReceive, m_transporter, L"", m_progress.Get()));
    }
    /// Returns how many packets it delivered.
    LONG Deliver() const {
        const auto count = Ask<LONG>(&IZNTransporter::ResetLocalReceiveFiles, m_transporter, L"sub");
        for (LONG i = 0; i < count; ++i) {
            com::Bstr name;
            VARIANT_BOOL delivered = VARIANT_FALSE;
            m_transporter->NextLocalReceiveFile(In(m_inbox), name.Put(), &delivered);
            EXPECT_TRUE(delivered);
        }
        return count;
    }

private:
    std::wstring m_inbox;
    ComPtr<IZNSenderReceiver> m_remote;
    ComPtr<IZNTransporter> m_transporter;
    ComPtr<IUnknown> m_progress{static_cast<IZNProgress*>(com::Make<ProgressDouble>().Get())};
};

class Soak : public LibraryTest {
protected:
    void Cycle(const Side& field, const Side& enterprise) {
        for (const wchar_t* name : {L"outbox\\a.mdb", L"outbox\\b.xml"})
            EXPECT_TRUE(field.Add(temp.File(name)));
        EXPECT_FALSE(field.Add(temp / L"missing.mdb"));
        field.Exchange();
        enterprise.Exchange();
        EXPECT_EQ(enterprise.Deliver(), 2);
        EXPECT_EQ(framework.TakeLog().size(), 1u) << "of the one that is missing";
    }
    Side Field() const { return {library, temp, L"field", L"share\\up", L"share\\down"}; }
    Side Enterprise() const { return {library, temp, L"enterprise", L"share\\down", L"share\\up"}; }

    /// Runs cycles until all that is made once has been made, and then so many that a leak would show.
    void ExpectNothingLeft(const std::function<void()>& cycle) {
        for (int i = 0; i < kWarmUp; ++i)
            cycle();
        const Resources before = ResourcesInUse();
        const size_t files = temp.Files().size();
        for (int i = 0; i < kCycles; ++i)
            cycle();
        const Resources after = ResourcesInUse();
        EXPECT_LE(after.handles, before.handles);
        EXPECT_LE(after.windows, before.windows);
        // Far fewer than one in each cycle.
        EXPECT_LE(after.blocks, before.blocks + kCycles / 20);
        EXPECT_EQ(temp.Files().size(), files);
    }

    TempFolder temp;
};

TEST_F(Soak, ObjectsThatServeForManyCyclesGatherNothing) {
    const Side field = Field();
    const Side enterprise = Enterprise();
    ExpectNothingLeft([&] { Cycle(field, enterprise); });
}

TEST_F(Soak, ObjectsOfEachCycleLeaveNothing) {
    ExpectNothingLeft([&] { Cycle(Field(), Enterprise()); });
}

}  // namespace
}  // namespace tests
