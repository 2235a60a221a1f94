// What scripts reach: whole cycles by the default interfaces, errors, events, progress objects called by
// name.
#include <windows.h>
#include <ocidl.h>
#include <olectl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <functional>

#include "base/WriteBlock.h"
#include "com/Object.h"
#include "tests/win/support/ChildPrograms.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/Meanwhile.h"

namespace tests {
namespace {

/// An object of a script: it has the members that a test names, and writes down how they are called.
class Scripted final : public com::Object<IDispatch> {
public:
    explicit Scripted(std::vector<std::wstring> members) : m_members(std::move(members)) {}
    static ComPtr<Scripted> With(std::vector<std::wstring> members) {
        return com::Make<Scripted>(std::move(members));
    }

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
        const auto found = std::ranges::find(m_members, *names);
        *ids = static_cast<DISPID>(found - m_members.begin()) + 1;
        return found == m_members.end() ? DISP_E_UNKNOWNNAME : S_OK;
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* info, UINT*) override {
        if (id < 1 || id > static_cast<DISPID>(m_members.size())) return DISP_E_MEMBERNOTFOUND;
        const std::wstring& member = m_members[static_cast<size_t>(id) - 1];
        if (member == failing) {
            ++failures;
            info->scode = E_ABORT;
            info->bstrDescription = Bstr(L"a mistake in a handler").Release();
            return DISP_E_EXCEPTION;
        }
        if (result) *result = Variant(cancels ? L"True" : L"0").Release();
        if (flags & DISPATCH_PROPERTYGET) return S_OK;
        std::wstring call = member + (flags & DISPATCH_PROPERTYPUT ? L" =" : L"");
        for (UINT i = parameters->cArgs; i > 0; --i)
            call += L" " + Variant(parameters->rgvarg[i - 1]).Text();
        calls.push_back(call);
        onCall(call);
        return S_OK;
    }

    std::vector<std::wstring> calls;
    std::function<void(const std::wstring&)> onCall = [](const std::wstring&) {};
    std::wstring failing;
    int failures = 0;
    bool cancels = false;

private:
    const std::vector<std::wstring> m_members;
};

/// Nobody else can list it meanwhile.
base::FileHandle HeldFolder(const std::wstring& path) {
    return base::FileHandle(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

const std::wstring kSource = L"znTransporter.clsTransporter: ";

/// The field's side of an exchange through a shared folder, with the members of scripts.
class Scripting : public ScratchTest {
protected:
    Scripting() {
        remote->put_SendFolder(In(temp / L"field\\send"));
        remote->put_ReceiveFolder(In(temp / L"field\\receive"));
        remote->put_RemoteSendFolder(In(temp / L"share\\to enterprise"));
        remote->put_RemoteReceiveFolder(In(temp / L"share\\to field"));
        EXPECT_EQ(transporter->putref_SenderReceiver(remote.Get()), S_OK);
    }

    /// The failure of a call of a script, in the form "source: description".
    std::wstring Failure(HRESULT result) const {
        const base::Failure failure = FailureOf([&] { com::Check(result); });
        std::wstring text = temp.Shown(failure.source + L": " + failure.description);
        if (const size_t line = text.find(L"\r\nError at line"); line != text.npos) text.resize(line);
        return text;
    }
    std::wstring Add(const std::wstring& file) const {
        return Failure(transporter->Add(In(file), Variant().Get()));
    }
    bool SendReceive(IDispatch* progress = nullptr) const {
        return Ask<bool>(&_clsTransporter::SendReceive, transporter, Variant::Object(progress).Get(),
                         Variant().Get());
    }
    std::vector<Variant> Listed(HRESULT (STDMETHODCALLTYPE _clsTransporter::*list)(_Collection**)) const {
        ComPtr<_Collection> all;
        com::Check((transporter.Get()->*list)(&all));
        std::vector<Variant> items;
        for (LONG i = 1; i <= Ask<LONG>(&_Collection::get_Count, all); ++i)
            items.push_back(Ask<Variant>(&_Collection::get_Item, all, i));
        return items;
    }
    std::vector<ComPtr<_Packet>> Received() const {
        std::vector<ComPtr<_Packet>> packets;
        for (const Variant& item : Listed(&_clsTransporter::get_Received))
            packets.push_back(com::As<_Packet>(item.Get().pdispVal));
        return packets;
    }
    std::wstring Backups() const {
        std::wstring ids;
        for (const Variant& item : Listed(&_clsTransporter::get_Backups))
            ids += item.Text() + L" ";
        return ids;
    }
    /// The connection of a handler to the events of the transporter.
    DWORD Connect(IDispatch* handler) {
        EXPECT_EQ(com::As<IConnectionPointContainer>(transporter.Get())
                      ->FindConnectionPoint(__uuidof(_clsTransporterEvents), &point),
                  S_OK);
        DWORD cookie = 0;
        EXPECT_EQ(point->Advise(handler, &cookie), S_OK);
        return cookie;
    }

    void MakeDifferencesBy(const ChildPrograms& children) const {
        children.Install(L"xDelta.exe");
        const auto delta = Create<clsXDeltaEncoder, _clsXDeltaEncoder2>();
        delta->put_XDeltaUtilLocation(In(children.Folder()));
        delta->put_ReferencePath(In(temp.File(L"Base.AXR")));
        EXPECT_EQ(transporter->AddEncoder(delta.Get()), S_OK);
    }

    const ComPtr<_clsTransporter> transporter = Create<clsTransporter, _clsTransporter>();
    const ComPtr<_clsXCOPYSndRcv> remote = Create<clsXCOPYSndRcv, _clsXCOPYSndRcv>();
    ComPtr<IConnectionPoint> point;
};

TEST_F(Scripting, ErrorsNameTheThingAndTheReason) {
    const auto lone = Create<clsTransporter, _clsTransporter>();
    EXPECT_THAT(Failure(lone->Add(In(L"x"), Variant().Get())), HasSubstr(L"Set SenderReceiver to"));
    EXPECT_THAT(Failure(lone->put_SendFolder(In(temp / L"early"))), HasSubstr(L"Set SenderReceiver to"));
    EXPECT_FALSE(temp.Exists(L"early"));
    EXPECT_EQ(lone->putref_SenderReceiver(lone.Get()), E_NOINTERFACE);
    EXPECT_EQ(lone->AddEncoder(nullptr), E_NOINTERFACE);
    EXPECT_EQ(lone->put_SenderReceiver(Create<clsXCOPYSndRcv, IDispatch>().Get()), S_OK);
    EXPECT_THAT(Failure(lone->Add(In(L"x"), Variant().Get())),
                HasSubstr(L"Set SendFolder and ReceiveFolder first"));
    EXPECT_EQ(lone->put_SendFolder(In(temp / L"alone")), S_OK);
    EXPECT_THAT(Failure(lone->Add(In(L"x"), Variant().Get())),
                HasSubstr(L"Set SendFolder and ReceiveFolder first"));
    EXPECT_THAT(framework.log, IsEmpty()) << "what a script forgot is no matter for the log";
    EXPECT_EQ(Add(temp / L"a.mdb"),
              kSource + L"The packet T:\\a.mdb was not added to the send folder. It stays where it is.\r\n"
                        L"File T:\\a.mdb does not exist");
    EXPECT_EQ(framework.TakeLog().size(), 1u);
    temp.File(L"field\\send\\a.mdb");
    temp.File(L"share\\to enterprise", "no folder");
    Variant none;
    VARIANT_BOOL moved = VARIANT_TRUE;
    const HRESULT result = transporter->SendReceive(none.Get(), none.Get(), &moved);
    EXPECT_EQ(result, E_FAIL) << "not the number of a message box that nobody sees";
    EXPECT_THAT(Failure(result),
                StartsWith(kSource +
                           L"Not everything could be sent and received. What was not is where it was; the "
                           L"next SendReceive moves it.\r\n"));
    EXPECT_FALSE(moved);
    EXPECT_EQ(transporter->SendReceive(Variant(L"no object").Get(), none.Get(), &moved), DISP_E_TYPEMISMATCH);
    EXPECT_THAT(temp.Files(L"field\\send"), ElementsAre(L"a.mdb"));
    EXPECT_THAT(framework.TakeLog(), Not(IsEmpty()));
    temp.File(L"field\\receive\\b.xml", "packet");
    const auto packet = Received().at(0);
    temp.File(L"field\\inbox", "no folder");
    Bstr file;
    EXPECT_THAT(Failure(packet->Deliver(In(temp / L"field\\inbox"), file.Put())),
                StartsWith(L"znTransporter.Packet: "));
    EXPECT_EQ(packet->Deliver(In(temp / L"field\\receive\\below"), file.Put()), E_INVALIDARG);
    EXPECT_EQ(temp.Content(L"field\\receive\\b.xml"), "packet");
    EXPECT_EQ(temp.Shown(Ask<std::wstring>(&_Packet::Deliver, packet, temp / L"other")), L"T:\\other\\b.xml");
    EXPECT_THAT(Failure(packet->Deliver(In(temp / L"other"), file.Put())), HasSubstr(L"delivered already"));
}

TEST_F(Scripting, PacketsWhoseNamesDifferOnlyInCaseAreNotMoved) {
    if (!FileSystem::FolderExists(kCaseSensitive))
        GTEST_SKIP() << "needs a file system that tells them apart";
    const TwoLetterCases share;
    LONG count = 0;
    EXPECT_THAT(Failure(transporter->MoveAll(In(share.Path()), &count)),
                AllOf(HasSubstr(L"1 packet(s)"), HasSubstr(L"the same path as A.mdb but"),
                      HasSubstr(L"the same path as a.mdb but")));
    EXPECT_THAT(share.Files(), ElementsAre(L"A.mdb", L"a.mdb"));
    EXPECT_THAT(temp.Files(L"field\\send"), ElementsAre(L"other.mdb"));
}

TEST_F(Scripting, APacketLeavesItsPlaceWhenItWaitsToBeSent) {
    temp.File(L"outbox\\a.mdb", "packet");
    temp.File(L"field\\send", "no folder");
    EXPECT_THAT(Failure(transporter->Move(In(temp / L"outbox\\a.mdb"), Variant().Get())),
                HasSubstr(L"It stays where it is.\r\n"));
    LONG count = 0;
    EXPECT_THAT(Failure(transporter->MoveAll(In(temp / L"outbox"), &count)),
                AllOf(StartsWith(kSource + L"0 packet(s) of the folder T:\\outbox wait"),
                      HasSubstr(L"T:\\outbox\\a.mdb")));
    EXPECT_EQ(transporter->MoveAll(In(temp / L"missing"), &count), E_INVALIDARG);
    EXPECT_THAT(Failure(transporter->MoveAll(In(temp / L""), &count)), HasSubstr(L"lies in it"));
    EXPECT_EQ(temp.Content(L"outbox\\a.mdb"), "packet");
    EXPECT_THAT(framework.TakeLog(), Not(IsEmpty()));
    DeleteFileW((temp / L"field\\send").c_str());
    temp.Protect(L"outbox\\a.mdb");
    EXPECT_EQ(transporter->Move(In(temp / L"outbox\\a.mdb"), Variant(L"sub").Get()), S_OK);
    EXPECT_FALSE(temp.Exists(L"outbox\\a.mdb"));
    EXPECT_TRUE(SendReceive()) << "a read-only one travels once";
    EXPECT_THAT(temp.Files(L"field"), IsEmpty());
    EXPECT_EQ(temp.Content(L"share\\to enterprise\\sub\\a.mdb"), "packet");
    const auto writer = Held(temp.File(L"outbox\\b.mdb"), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ(transporter->Move(In(temp / L"outbox\\b.mdb"), Variant().Get()),
              HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION));
    const auto held =
        Held(temp.File(L"field\\send\\c.mdb"), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
    VARIANT_BOOL moved = VARIANT_TRUE;
    EXPECT_EQ(transporter->SendReceive(Variant().Get(), Variant().Get(), &moved),
              HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION))
        << "the number of the first reason that was heard";
    EXPECT_THAT(framework.TakeLog(), Not(IsEmpty()));
}

TEST_F(Scripting, WhatWouldNotReachTheOtherSideIsRefused) {
    const auto zip = Create<clsZipEncoder, _clsZipEncoder2>();
    EXPECT_EQ(transporter->AddEncoder(zip.Get()), S_OK);
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"x.xml", L".."},       {L"x.xml", L"C:\\x"},  {L"x.xml", L"a\\..\\..\\b"}, {L"x.xml", L"\\a"},
        {L"x.xml", L"a\\"},      {L"x.xml", L"backup"}, {L"x.xml", L"Backup\\a"},    {L"x.xml_bak", L""},
        {L"x.xml_BCK", L"a\\b"}, {L"x.AFZ", L""}};
    for (const auto& [name, subFolder] : cases)
        EXPECT_EQ(transporter->Add(In(temp.File(name)), Variant(subFolder).Get()), E_INVALIDARG)
            << testing::PrintToString(std::wstring(name) + L" in " + subFolder);
    EXPECT_THAT(Add(temp.File(L"empty.mdb", "")), HasSubstr(L"it is empty"));
    zip->put_InExtension(In(L".txt"));
    EXPECT_THAT(Add(temp.File(L"x.txt")), HasSubstr(L"ends with .mdb or .xml"));
    const auto delta = Create<clsXDeltaEncoder, _clsXDeltaEncoder2>();
    EXPECT_EQ(transporter->AddEncoder(delta.Get()), S_OK);
    for (const wchar_t* reference : {L"Base.mdb", L"BASE2~1.AXR"}) {
        delta->put_ReferencePath(In(temp.File(reference)));
        EXPECT_THAT(Add(temp.File(L"x.mdb")), HasSubstr(L"a reference file is named"));
    }
    VARIANT_BOOL moved = VARIANT_FALSE;
    EXPECT_EQ(transporter->SendReceive(Variant().Get(), Variant(L"..\\x").Get(), &moved), E_INVALIDARG);
    EXPECT_FALSE(temp.Exists(L"field"));
    EXPECT_EQ(transporter->Add(In(temp.File(L"x.xml")), Variant(L"a\\b").Get()), S_OK);
    temp.File(L"field\\receive\\x.xml_bak", "packet");
    Bstr file;
    EXPECT_EQ(Received().at(0)->Deliver(In(temp / L"inbox"), file.Put()), E_INVALIDARG);
    EXPECT_EQ(temp.Content(L"field\\receive\\x.xml_bak"), "packet");
    zip->put_InExtension(In(L".mdb"));
    zip->put_ZipUtilLocation(In(temp.Path()));
    for (const wchar_t* again : {L"first.mdb", L"again.mdb"})
        EXPECT_THAT(Add(temp.File(again)), HasSubstr(L"Zip.exe does not exist"));
    EXPECT_THAT(framework.TakeLog(), SizeIs(1)) << "which the log is told once";
}

TEST_F(Scripting, ADifferenceReplacesTheOneThatWaits) {
    const ChildPrograms children(temp);
    MakeDifferencesBy(children);
    const std::wstring packet = temp.File(L"x.mdb");
    const auto sent = [&] { return temp.Content(L"share\\to enterprise\\x.mdb~Base.axd"); };
    for (const wchar_t* version : {L"older", L"newer"}) {
        children.Script(L"write T:\\field\\send\\x.mdb~Base.axd*" + std::wstring(version));
        EXPECT_EQ(transporter->Add(In(packet), Variant().Get()), S_OK);
    }
    EXPECT_THAT(temp.Files(L"field\\send"), ElementsAre(L"x.mdb~Base.axd"));
    EXPECT_TRUE(SendReceive());
    EXPECT_EQ(sent(), "newer");
    temp.File(L"field\\send\\x.mdb~Base.axd_bck", "of a process that ended");
    EXPECT_TRUE(SendReceive());
    EXPECT_EQ(sent(), "of a process that ended");
    EXPECT_THAT(temp.Files(L"share"), ElementsAre(L"to enterprise\\x.mdb~Base.axd"));
}

TEST_F(Scripting, WhatAProgramLeftEmptyIsNoPacket) {
    const ChildPrograms children(temp);
    MakeDifferencesBy(children);
    temp.File(L"field\\send\\x.mdb~Base.axd", "older");
    const std::wstring packet = temp.File(L"outbox\\x.mdb", "newer");
    children.Script(L"write T:\\field\\send\\x.mdb~Base.axd*|exit 1");
    EXPECT_THAT(Failure(transporter->Move(In(packet), Variant().Get())),
                AllOf(HasSubstr(L"It stays where it is."), HasSubstr(L"x.mdb~Base.axd was left empty")));
    EXPECT_EQ(framework.TakeLog().size(), 1u);
    EXPECT_EQ(temp.Content(L"outbox\\x.mdb"), "newer");
    EXPECT_TRUE(SendReceive());
    EXPECT_EQ(temp.Content(L"share\\to enterprise\\x.mdb~Base.axd"), "older") << "what waited is sent";
    children.Script(L"write T:\\field\\send\\x.mdb~Base.axd*x|exit 1");
    EXPECT_EQ(transporter->Move(In(packet), Variant().Get()), S_OK) << "some programs end so that differ";
}

TEST_F(Scripting, AHostThatAddsPacketsWhileOneIsEncodedPutsNoOlderOneBack) {
    const ChildPrograms children(temp);
    MakeDifferencesBy(children);
    const std::wstring waiting = temp.File(L"field\\send\\x.mdb~Base.axd", "older");
    const std::wstring packet = temp.File(L"outbox\\x.mdb", "newer");
    HRESULT other = E_PENDING;
    children.Script(L"await T:\\failed");
    const Meanwhile meanwhile([&] {
        children.Script(L"");
        EXPECT_THAT(Failure(transporter->Move(In(packet), Variant().Get())),
                    HasSubstr(L"Another call is making the file T:\\field\\send\\x.mdb~Base.axd"));
        children.Script(L"write T:\\field\\send\\y.mdb~Base.axd*other");
        other = transporter->Add(In(temp.File(L"y.mdb")), Variant().Get());
        VARIANT_BOOL moved = VARIANT_FALSE;
        EXPECT_EQ(transporter->SendReceive(Variant().Get(), Variant().Get(), &moved), E_UNEXPECTED)
            << "the backup would travel";
        temp.File(L"failed");
    });
    EXPECT_THAT(Failure(transporter->Move(In(packet), Variant().Get())), HasSubstr(L"It stays where it is."));
    EXPECT_EQ(base::ReadFile(packet), "newer");
    EXPECT_EQ(other, S_OK);
    EXPECT_EQ(base::ReadFile(waiting), "older") << "it comes back when the encoder has failed";
    EXPECT_THAT(framework.TakeLog(), SizeIs(2));
}

TEST_F(Scripting, NoPacketIsDeliveredInThePlaceOfOneThatIsBeingDecoded) {
    const ChildPrograms children(temp);
    MakeDifferencesBy(children);
    const std::wstring inbox = temp / L"inbox";
    temp.File(L"inbox\\x.mdb", "previous");
    for (const std::wstring name : {L"x.mdb~Base.axd", L"x.mdb"})
        temp.File(L"field\\receive\\" + name, "packet");
    const auto deliver = [&](const std::wstring& name) {
        Bstr file;
        for (const auto& packet : Received())
            if (Ask<std::wstring>(&_Packet::get_Name, packet) == name)
                return Failure(packet->Deliver(In(inbox), file.Put()));
        return std::wstring();
    };
    children.Script(L"await T:\\failed");
    const Meanwhile meanwhile([&] {
        EXPECT_THAT(deliver(L"x.mdb"), HasSubstr(L"Another call is making the file T:\\inbox\\x.mdb "));
        temp.File(L"failed");
    });
    EXPECT_THAT(deliver(L"x.mdb~Base.axd"), HasSubstr(L"Decoding failed"));
    {
        const auto user = Held(temp / L"inbox\\x.mdb", GENERIC_READ, FILE_SHARE_READ);
        EXPECT_THAT(deliver(L"x.mdb~Base.axd"), HasSubstr(L"may be in use by another application"));
    }
    EXPECT_EQ(temp.Content(L"inbox\\x.mdb"), "previous");
    EXPECT_THAT(temp.Files(L"field\\receive"), UnorderedElementsAre(L"x.mdb", L"x.mdb~Base.axd"));
    EXPECT_THAT(framework.TakeLog(), SizeIs(3));
}

TEST_F(Scripting, OnlyWhatADecoderRestoresUnderItsNameIsDecoded) {
    const ChildPrograms children(temp);
    MakeDifferencesBy(children);
    EXPECT_EQ(transporter->AddEncoder(Create<clsZipEncoder, IDispatch>().Get()), S_OK);
    Bstr file;
    for (const std::wstring name : {L"x.txt.afz", L"x.txt~Base.axd"}) {
        const std::wstring received = temp.File(L"field\\receive\\" + name);
        EXPECT_THAT(Failure(Received().at(0)->Deliver(In(temp / L"inbox"), file.Put())),
                    HasSubstr(L"only when that ends with .mdb or .xml"));
        FileSystem::DeleteFile(received);
    }
    EXPECT_FALSE(children.WasStarted());
    for (const std::wstring name : {L"inbox\\x.mdb", L"field\\receive\\x.mdb~Base.axd"}) {
        temp.File(name);
        temp.Protect(name);
    }
    children.Script(L"write T:\\inbox\\x.mdb*decoded");
    EXPECT_EQ(Received().at(0)->Deliver(In(temp / L"inbox"), file.Put()), S_OK)
        << "a read-only packet is decoded once";
    EXPECT_EQ(temp.Content(L"inbox\\x.mdb"), "decoded");
    EXPECT_THAT(temp.Files(L"field"), IsEmpty());
    temp.File(L"field\\receive\\y.xml", "newer");
    temp.File(L"inbox\\y.xml", "older");
    temp.Protect(L"inbox\\y.xml");
    EXPECT_EQ(Received().at(0)->Deliver(In(temp / L"inbox"), file.Put()), S_OK) << "nor does one as it is";
    EXPECT_EQ(temp.Content(L"inbox\\y.xml"), "newer");
    EXPECT_THAT(temp.Files(L"inbox"), UnorderedElementsAre(L"x.mdb", L"y.xml"));
}

TEST_F(Scripting, OfSeveralFormsTheNewestIsDeliveredLast) {
    for (const wchar_t* name : {L"field\\receive\\b.xml", L"field\\receive\\z\\a.xml",
                                L"field\\receive\\Backup\\c.xml", L"field\\receive\\~1-2.arriving"})
        temp.File(name);
    const std::filesystem::path newest(temp / L"field\\receive\\b.xml");
    std::filesystem::last_write_time(newest,
                                     std::filesystem::last_write_time(newest) + std::chrono::hours(1));
    std::wstring order;
    for (const auto& packet : Received())
        order += Ask<std::wstring>(&_Packet::get_Name, packet) + L" ";
    EXPECT_EQ(order, L"a.xml b.xml ");
}

TEST_F(Scripting, BackupsAreListedRestoredAndDestroyed) {
    transporter->put_BackupEnabled(VARIANT_TRUE);
    temp.File(L"field\\receive\\4712~1.xml", "packet");
    com::As<IZNSenderReceiver>(remote.Get())->put_LocalReceiveFolder(In(temp / L"field/send\\..\\receive\\"));
    const auto packet = Received().at(0);
    Bstr file;
    EXPECT_EQ(packet->Deliver(In(temp / L"field\\receive\\below"), file.Put()), E_INVALIDARG);
    LONG count = 0;
    EXPECT_THAT(Failure(transporter->MoveAll(In(temp / L"field\\receive"), &count)),
                HasSubstr(L"lies in it"));
    EXPECT_EQ(packet->Deliver(In(temp / L"inbox"), file.Put()), S_OK);
    transporter->put_BackupEnabled(VARIANT_FALSE);
    EXPECT_EQ(Backups(), L"4712 ");
    for (const std::wstring since : {L"4712.xml.afz", L"sub\\4712~1.XML"}) {
        const std::wstring received = temp.File(L"field\\receive\\" + since, "newer");
        const HRESULT refused = transporter->RestoreBackup(In(L"4712"));
        EXPECT_EQ(refused, E_INVALIDARG);
        EXPECT_THAT(Failure(refused), HasSubstr(since));
        EXPECT_EQ(base::ReadFile(received), "newer");
        FileSystem::DeleteFile(received);
    }
    EXPECT_EQ(transporter->RestoreBackup(In(L"4712")), S_OK);
    EXPECT_EQ(temp.Content(L"field\\receive\\4712~1.xml"), "packet");
    EXPECT_THAT(Failure(transporter->RestoreBackup(In(L"4712"))),
                HasSubstr(L"There is no backup of the packet 4712 in T:\\"));
    temp.File(L"field\\receive\\Backup\\5.xml");
    for (const wchar_t* folder : {L"Backup\\hidden", L"hidden"}) {
        const auto hidden = HeldFolder(temp.Folder(L"field\\receive\\" + std::wstring(folder)));
        EXPECT_THAT(Failure(transporter->RestoreBackup(In(L"5"))), HasSubstr(folder));
        EXPECT_THAT(framework.TakeLog(), SizeIs(1));
    }
    EXPECT_EQ(Backups(), L"5 ") << "what is there now";
    EXPECT_EQ(transporter->DestroyBackup(In(L"5")), S_OK);
    EXPECT_EQ(transporter->DestroyBackup(In(L"5")), E_INVALIDARG);
    EXPECT_EQ(Backups(), L"");
}

TEST_F(Scripting, WithoutItsBackupNoPacketIsDelivered) {
    transporter->put_BackupEnabled(VARIANT_TRUE);
    temp.File(L"field\\receive\\1.xml", "packet");
    temp.Folder(L"field\\receive\\Backup\\RWD_TestFile.txt");
    Bstr file;
    EXPECT_THAT(Failure(Received().at(0)->Deliver(In(temp / L"inbox"), file.Put())),
                AllOf(HasSubstr(L"was not delivered into"), HasSubstr(L"has no backup")));
    EXPECT_THAT(framework.TakeLog(), Not(IsEmpty()));
    EXPECT_EQ(temp.Content(L"field\\receive\\1.xml"), "packet");
    EXPECT_FALSE(temp.Exists(L"inbox\\1.xml"));
}

TEST_F(Scripting, HandlersHearOfATransferAndMayCallBack) {
    temp.File(L"field\\send\\a.xml");
    temp.File(L"field\\send\\b.xml");
    const auto handler = Scripted::With({L"Progress", L"Message", L"Status"});
    const DWORD cookie = Connect(handler.Get());
    HRESULT nested = S_OK;
    handler->onCall = [&](const std::wstring& call) {
        if (call != L"Progress 1 0 2") return;
        VARIANT_BOOL moved = VARIANT_FALSE;
        nested = transporter->SendReceive(Variant().Get(), Variant().Get(), &moved);
        transporter->Cancel();
    };
    EXPECT_FALSE(SendReceive());
    EXPECT_EQ(nested, E_UNEXPECTED);
    EXPECT_THAT(handler->calls, ElementsAre(L"Progress 0 0 1", L"Status Send Packets",
                                            L"Status Moving packets from local folder", L"Progress 0 0 2",
                                            L"Message Transferring 2 file(s) 0", L"Progress 1 0 2",
                                            L"Message Interrupted by user 0"));
    EXPECT_THAT(temp.Files(L"field\\send"), SizeIs(1));
    // The stop was for that transfer alone; a handler that leaves hears no more.
    handler->calls.clear();
    const auto other = Scripted::With({L"Progress"});
    Connect(other.Get());
    handler->onCall = [&](const std::wstring&) { EXPECT_EQ(point->Unadvise(cookie), S_OK); };
    EXPECT_TRUE(SendReceive());
    EXPECT_THAT(handler->calls, ElementsAre(L"Progress 0 0 1"));
    EXPECT_THAT(other->calls,
                ElementsAre(L"Progress 0 0 1", L"Progress 0 0 1", L"Progress 1 0 1", L"Progress 0 0 1"))
        << "sending, and that there is nothing to receive";
    EXPECT_THAT(temp.Files(L"share\\to enterprise"), ElementsAre(L"a.xml", L"b.xml"));
}

TEST_F(Scripting, WhoeverFailsWhenToldIsReportedAndEndsNothing) {
    for (const bool asProgress : {false, true}) {
        temp.File(L"field\\send\\a.xml");
        temp.File(L"field\\send\\b.xml");
        const auto handler = Scripted::With({asProgress ? L"Position" : L"Progress"});
        handler->failing = asProgress ? L"Position" : L"Progress";
        const DWORD cookie = asProgress ? 0 : Connect(handler.Get());
        EXPECT_TRUE(SendReceive(asProgress ? handler.Get() : nullptr));
        EXPECT_GE(handler->failures, 2);
        EXPECT_THAT(framework.TakeLog(),
                    ElementsAre(Tells(L"a mistake in a handler", ZN_EVENTLOG_WARNING_TYPE)));
        EXPECT_THAT(temp.Files(L"field\\send"), IsEmpty());
        if (!asProgress) {
            EXPECT_EQ(point->Unadvise(cookie), S_OK);
        }
    }
}

TEST_F(Scripting, WhatWasReportedIsAnErrorAlsoWhereAllWasMoved) {
    const std::wstring packet = temp.File(L"field\\send\\a.xml", "packet");
    const auto reader = base::File::Open(packet, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    Variant none;
    VARIANT_BOOL moved = VARIANT_TRUE;
    EXPECT_THAT(Failure(transporter->SendReceive(none.Get(), none.Get(), &moved)),
                HasSubstr(L"Could not delete packet file: T:\\field\\send\\a.xml"));
    EXPECT_FALSE(moved);
    EXPECT_THAT(temp.Files(L"share\\to enterprise"), ElementsAre(L"a.xml"))
        << "the step answers True all the same";
    EXPECT_THAT(framework.TakeLog(), ElementsAre(Tells(L"Could not delete packet file")));
}

TEST_F(Scripting, AProgressObjectIsCalledByTheNamesThatItHas) {
    const auto told = [&](const std::vector<std::wstring>& members) {
        temp.File(L"field\\send\\a.xml");
        const auto progress = com::Make<Scripted>(members);
        EXPECT_TRUE(SendReceive(progress.Get()));
        return progress->calls;
    };
    EXPECT_THAT(told({L"Position", L"Cancelled"}), ElementsAre(L"Position = 1"));
    EXPECT_THAT(told({L"Position", L"SetPosition", L"SetStatusText"}),
                testing::IsSupersetOf({L"SetPosition 1", L"SetStatusText Send Packets"}));
    EXPECT_THAT(told({L"SetRange", L"AddMessage", L"StatusText"}),
                testing::IsSupersetOf(
                    {L"SetRange 0 1", L"AddMessage Transferring 1 file(s) 0", L"StatusText = Send Packets"}));
    const auto stopping = Scripted::With({L"Cancelled"});
    stopping->cancels = true;
    temp.File(L"field\\send\\a.xml");
    temp.File(L"field\\send\\b.xml");
    EXPECT_FALSE(SendReceive(stopping.Get()));
    EXPECT_THAT(temp.Files(L"field\\send"), SizeIs(testing::Ge(1u)));
}

TEST_F(Scripting, ScriptingHostsFindTheEvents) {
    ExpectOneIdentity(com::As<IUnknown>(transporter.Get()).Get(),
                      std::array{__uuidof(_clsTransporter), IID_IDispatch,
                                 __uuidof(IConnectionPointContainer), __uuidof(IProvideClassInfo),
                                 __uuidof(IProvideClassInfo2), __uuidof(IZNTransporter)});
    const auto info = com::As<IProvideClassInfo2>(transporter.Get());
    GUID events;
    EXPECT_EQ(info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events), S_OK);
    EXPECT_EQ(com::Text(events), com::Text(__uuidof(_clsTransporterEvents)));
    GUID none;
    EXPECT_EQ(info->GetGUID(0, &none), E_INVALIDARG);
    ComPtr<ITypeInfo> description;
    ASSERT_EQ(info->GetClassInfo(&description), S_OK);
    Bstr name;
    EXPECT_EQ(description->GetDocumentation(MEMBERID_NIL, name.Put(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(name.Text(), L"clsTransporter");
    // They look for the default source of the class, and connect by the numbers of its events.
    HREFTYPE source = 0;
    INT flags = 0;
    UINT index = 0;
    while (SUCCEEDED(description->GetImplTypeFlags(index, &flags)) &&
           flags != (IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE))
        ++index;
    ComPtr<ITypeInfo> sourceInfo;
    ASSERT_EQ(description->GetRefTypeOfImplType(index, &source), S_OK);
    ASSERT_EQ(description->GetRefTypeInfo(source, &sourceInfo), S_OK);
    std::wstring numbers;
    for (const wchar_t* event : {L"Progress", L"Message", L"Status"}) {
        auto* wanted = const_cast<wchar_t*>(event);
        MEMBERID number = 0;
        EXPECT_EQ(sourceInfo->GetIDsOfNames(&wanted, 1, &number), S_OK);
        numbers += std::to_wstring(number) + L" ";
    }
    EXPECT_EQ(numbers, L"1 2 3 ");

    const auto container = com::As<IConnectionPointContainer>(transporter.Get());
    EXPECT_EQ(container->FindConnectionPoint(IID_IUnknown, &point), CONNECT_E_NOCONNECTION);
    ComPtr<IEnumConnectionPoints> points;
    ASSERT_EQ(container->EnumConnectionPoints(&points), S_OK);
    ASSERT_EQ(points->Next(1, &point, nullptr), S_OK);
    IID id;
    EXPECT_EQ(point->GetConnectionInterface(&id), S_OK);
    EXPECT_EQ(com::Text(id), com::Text(events));
    ComPtr<IConnectionPointContainer> owner;
    EXPECT_EQ(point->GetConnectionPointContainer(&owner), S_OK);
    EXPECT_EQ(owner, container);
    DWORD cookie = 0;
    EXPECT_EQ(point->Advise(points.Get(), &cookie), CONNECT_E_CANNOTCONNECT);
    EXPECT_EQ(point->Unadvise(7), CONNECT_E_NOCONNECTION);
    const auto handler = Scripted::With({});
    cookie = Connect(handler.Get());
    ComPtr<IEnumConnections> connections;
    ASSERT_EQ(point->EnumConnections(&connections), S_OK);
    CONNECTDATA connection{};
    EXPECT_EQ(connections->Next(1, &connection, nullptr), S_OK);
    EXPECT_EQ(connection.dwCookie, cookie);
    EXPECT_TRUE(connection.pUnk == static_cast<IDispatch*>(handler.Get()));
    connection.pUnk->Release();
}

TEST_F(Scripting, NamesAndPropertySetsAreTheSameSettings) {
    const auto delta = Create<clsXDeltaEncoder, _clsXDeltaEncoder2>();
    com::As<IZNEncoder2>(delta.Get())->put_ApplicationName(In(L"App"));
    EXPECT_EQ(delta->put_InExtension(In(L".xml")), S_OK);
    ComPtr<IZNPropertySet> set;
    EXPECT_EQ(com::As<IZNEncoder2>(delta.Get())->get_PropSet(&set), S_OK);
    EXPECT_THAT(PropertiesAsText(set.Get()), HasSubstr(L".xml"));
    com::As<IZNEncoder2>(delta.Get())->putref_PropSet(Properties({{L"OUT_EXTENSION", L".dif"}}).Get());
    EXPECT_EQ(Ask<std::wstring>(&_clsXDeltaEncoder2::get_OutExtension, delta), L".dif");
    // Programs that were built before the wider interface get theirs.
    EXPECT_EQ(Ask<LONG>(&_clsXDeltaEncoder::get_Timeout, com::As<_clsXDeltaEncoder>(delta.Get())), 60);

    const auto ftp = Create<clsFTPSndRcv, _clsFTPSndRcv2>();
    ftp->put_Server(In(L"host"));
    ftp->put_UserName(In(L"joe"));
    ftp->put_Password(In(L"secret"));
    ftp->put_RemoteSendFolder(In(L"to/there"));
    ftp->put_Mobile(VARIANT_TRUE);
    EXPECT_EQ(com::As<IZNSenderReceiver2>(ftp.Get())->get_PropSet(&set), S_OK);
    for (const wchar_t* value : {L"host", L"joe", L"secret", L"to/there", L"TRUE"})
        EXPECT_THAT(PropertiesAsText(set.Get()), HasSubstr(value));
    EXPECT_TRUE(Ask<bool>(&IZNSenderReceiver::Init, com::As<IZNSenderReceiver>(ftp.Get()),
                          Properties({{L"RemoteReceiveFolder", L"from"}}).Get()));
    EXPECT_EQ(Ask<std::wstring>(&_clsFTPSndRcv2::get_RemoteReceiveFolder, ftp), L"from");

    EXPECT_EQ(transporter->put_SendFolder(In(temp / L"new\\send\\")), S_OK);
    EXPECT_TRUE(temp.Exists(L"new\\send"));
    EXPECT_EQ(temp.Shown(Ask<std::wstring>(&_clsXCOPYSndRcv::get_SendFolder, remote)), L"T:\\new\\send");
    ComPtr<IDispatch> current;
    EXPECT_EQ(transporter->get_SenderReceiver(&current), S_OK);
    EXPECT_EQ(current, remote);

    const auto configuration = Create<clsTranMobileConfig, _clsTranMobileConfig>();
    ComPtr<_Dictionary> settings;
    EXPECT_EQ(configuration->get_Field(&settings), E_UNEXPECTED);
    framework.registry[L"13//FieldHome"] = L"C:\\Field";
    framework.registry[L"13//MobileConfigValue"] = L"1";
    EXPECT_EQ(configuration->put_ApplicationName(In(L"App")), S_OK);
    EXPECT_EQ(configuration->get_Field(&settings), S_OK);
    EXPECT_EQ(Ask<std::wstring>(&_Dictionary::get_Item, settings, L"incoming"),
              L"C:\\Field\\Transport\\Incoming");
}

}  // namespace
}  // namespace tests
