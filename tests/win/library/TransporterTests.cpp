// The transporter with encoders and sender/receivers that a test arranges, over real folders.
#include <functional>

#include "base/File.h"
#include "com/Object.h"
#include "tests/win/support/Library.h"

using com::Return;
using com::Text;

namespace tests {
namespace {

/// Two folders; each step answers as arranged, and is written down.
class Remote final : public com::Object<IZNSenderReceiver> {
public:
    STDMETHODIMP get_LocalSendFolder(BSTR* Value) override { return Folder(send, Value); }
    STDMETHODIMP put_LocalSendFolder(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_LocalReceiveFolder(BSTR* Value) override { return Folder(receive, Value); }
    STDMETHODIMP put_LocalReceiveFolder(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_LoginCancelled(VARIANT_BOOL* Value) override { return Return(Value, loginCancelled); }
    STDMETHODIMP put_LoginCancelled(VARIANT_BOOL Value) override {
        steps += Value ? L"cancel!" : L"reset,";
        return S_OK;
    }
    STDMETHODIMP Send(BSTR Argument, IUnknown* Progress, VARIANT_BOOL* Success) override {
        return Step(L"send " + Text(Argument) + (Progress ? L" with progress" : L""), Success);
    }
    STDMETHODIMP Receive(BSTR Argument, IUnknown*, VARIANT_BOOL* Success) override {
        return Step(L"receive " + Text(Argument), Success);
    }
    STDMETHODIMP Init(IZNPropertySet*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP Connect(VARIANT_BOOL* Success) override {
        onConnect();
        return Step(L"connect", Success);
    }
    STDMETHODIMP Disconnect(VARIANT_BOOL* Success) override { return Step(L"disconnect", Success); }

    std::wstring send;     ///< a folder called "broken" cannot be asked for
    std::wstring receive;  ///< likewise
    std::wstring steps;
    std::wstring failing = L"none";  ///< name of the step that answers False
    std::wstring broken = L"none";   ///< name of the step that answers an error
    bool loginCancelled = false;
    std::function<void()> onConnect = [] {};
    std::function<void()> onFolder = [] {};

private:
    HRESULT Folder(const std::wstring& folder, BSTR* value) const {
        onFolder();
        return folder == L"broken" ? E_ACCESSDENIED : Return(value, folder);
    }
    HRESULT Step(const std::wstring& step, VARIANT_BOOL* success) {
        steps += step + L",";
        return step.starts_with(broken) ? E_ACCESSDENIED : Return(success, !step.starts_with(failing));
    }
};

/// Copies a file and adds or drops its extension; counts how often it is asked.
class Encoder final : public com::Object<IZNEncoder> {
public:
    Encoder(std::wstring in, std::wstring out) : m_in(std::move(in)), m_out(std::move(out)) {}

    STDMETHODIMP Encode(BSTR InFolder, BSTR OutFolder, BSTR FileName, VARIANT_BOOL* Success) override {
        const std::wstring name = L"\\" + Text(FileName);
        return Copy(Text(InFolder) + name, Text(OutFolder) + name + m_out, Success);
    }
    STDMETHODIMP Decode(BSTR InFolder, BSTR OutFolder, BSTR FileName, BSTR* OutFile,
                        VARIANT_BOOL* Success) override {
        const std::wstring name = L"\\" + Text(FileName);
        com::Replace(OutFile, Text(OutFolder) + name);
        onDecode();
        return Copy(Text(InFolder) + name + m_out, Text(OutFolder) + name, Success);
    }
    STDMETHODIMP get_InExtension(BSTR* Value) override {
        onExtension();
        return Return(Value, m_in);
    }
    STDMETHODIMP put_InExtension(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_OutExtension(BSTR* Value) override { return Return(Value, m_out); }
    STDMETHODIMP put_OutExtension(BSTR) override { return E_NOTIMPL; }

    int calls = 0;
    std::function<void()> onDecode = [] {};
    bool succeeds = true;
    bool eats = false;  ///< deletes its source instead of copying it
    HRESULT result = S_OK;
    std::function<void()> onExtension = [] {};

private:
    HRESULT Copy(const std::wstring& source, const std::wstring& target, VARIANT_BOOL* success) {
        ++calls;
        if (eats) return Return(success, !DeleteFileW(source.c_str()));
        return FAILED(result) ? result
                              : Return(success, succeeds && CopyFileW(source.c_str(), target.c_str(), FALSE));
    }

    const std::wstring m_in;
    const std::wstring m_out;
};

const std::wstring kMember = L"clsTransporter.cls.IZNTransporter_";

class Transporter : public ScratchTest {
protected:
    Transporter() {
        remote->send = temp / L"send";
        remote->receive = temp.Folder(L"receive");
        temp.Folder(L"inbox");
        transporter->putref_SenderReceiver(remote.Get());
    }

    ComPtr<Encoder> AddEncoder(const wchar_t* in, const wchar_t* out) {
        auto encoder = com::Make<Encoder>(in, out);
        EXPECT_EQ(transporter->putref_Encoder(encoder.Get()), S_OK);
        return encoder;
    }
    bool Add(const std::wstring& file) { return Ask<bool>(&IZNTransporter::Add, transporter, file, L""); }
    bool SendReceive() {
        return Ask<bool>(&IZNTransporter::SendReceive, transporter, L"arg",
                         static_cast<IZNSenderReceiver*>(remote.Get()));
    }
    LONG ResetReceived() { return Ask<LONG>(&IZNTransporter::ResetLocalReceiveFiles, transporter, L""); }
    LONG ResetToSend(const wchar_t* folder = L"") {
        return Ask<LONG>(&IZNTransporter::ResetLocalSendFiles, transporter, folder);
    }
    /// The result and the file.
    std::wstring NextReceived(const wchar_t* folder = L"inbox") {
        Bstr file;
        return Shown(Ask<bool>(&IZNTransporter::NextLocalReceiveFile, transporter, temp / folder, file.Put()),
                     file);
    }
    /// Of the one file that waits in the receive folder.
    std::wstring Deliver(const wchar_t* folder = L"inbox") {
        EXPECT_EQ(ResetReceived(), 1);
        return NextReceived(folder);
    }
    std::wstring NextToSend() {
        Bstr file;
        return Shown(Ask<bool>(&IZNTransporter::NextLocalSendFile, transporter, file.Put()), file);
    }
    std::wstring Shown(bool result, const Bstr& file) const {
        return (result ? L"True " : L"False ") + temp.Shown(file.Text());
    }

    ComPtr<Remote> remote = com::Make<Remote>();
    ComPtr<IZNTransporter> transporter = Create<clsTransporter, IZNTransporter>();
};

TEST_F(Transporter, TheFirstEncoderOfTheExtensionTakesIt) {
    const auto other = AddEncoder(L".xml", L".oth");
    const auto first = AddEncoder(L".MDB", L".afz");
    const auto second = AddEncoder(L".mdb", L".axd");
    EXPECT_TRUE(Add(temp.File(L"x.mdb")));
    EXPECT_THAT(temp.Files(L"send"), ElementsAre(L"x.mdb.afz"));
    first->succeeds = false;
    EXPECT_FALSE(Add(temp.File(L"y.mdb")));
    EXPECT_EQ(first->calls, 2);
    EXPECT_EQ(second->calls + other->calls, 0);
    ComPtr<IZNEncoder> encoder;
    ComPtr<IZNSenderReceiver> current;
    EXPECT_EQ(transporter->get_Encoder(&encoder), S_OK);
    EXPECT_EQ(transporter->get_SenderReceiver(&current), S_OK);
    EXPECT_TRUE(encoder == first && current == remote);
    const HRESULT refused = transporter->putref_Encoder(nullptr);
    EXPECT_EQ(refused, E_POINTER);
    EXPECT_THAT(FailureOf([&] { com::Check(refused); }).description,
                HasSubstr(L"There is no encoder to add"));
}

TEST_F(Transporter, AddReportsWhatItCannotDo) {
    EXPECT_FALSE(Add(temp / L"missing.mdb"));
    EXPECT_THAT(framework.TakeLog(), OneReport(kMember + L"Add", L"File T:\\missing.mdb does not exist"));
    AddEncoder(L".mdb", L".afz")->result = E_ACCESSDENIED;
    EXPECT_FALSE(Add(temp.File(L"x.mdb")));
    EXPECT_THAT(framework.TakeLog(), OneReport(kMember + L"Add"));
    remote->send = temp.File(L"blocked");
    EXPECT_FALSE(Add(temp.File(L"x.xml"))) << "a file stands where the send folder should be";
    EXPECT_THAT(framework.TakeLogText(), HasSubstr(L"Could not create folder"));
    remote->send.clear();
    EXPECT_FALSE(Add(temp.File(L"x.xml")));
    EXPECT_THAT(framework.TakeLog(),
                OneReport(kMember + L"Add", L"Local send or receive folder is not set."));
}

TEST_F(Transporter, AMovedPacketThatCannotLeaveItsPlaceIsTold) {
    const auto failureOfMove = [&](const std::wstring& packet) {
        const auto script = com::As<_clsTransporter>(transporter.Get());
        return FailureOf([&] { com::Check(script->Move(In(packet), Variant().Get())); }).description;
    };
    const std::wstring packet = temp.File(L"x.mdb", "older");
    remote->onFolder = [&] {
        // As programs save: the older file goes by another name.
        if (MoveFileW(packet.c_str(), (temp / L"x.bak").c_str())) temp.File(L"x.mdb", "newer");
    };
    EXPECT_THAT(failureOfMove(packet), HasSubstr(L"was saved while this one was added"));
    EXPECT_EQ(temp.Content(L"x.mdb"), "newer");
    const auto reader = Held(packet, GENERIC_READ, FILE_SHARE_READ);
    EXPECT_THAT(failureOfMove(packet), HasSubstr(L"is still at its place, too."));
    EXPECT_EQ(temp.Content(L"x.mdb") + temp.Content(L"send\\x.mdb"), "newernewer");
}

TEST_F(Transporter, NamesThatTheTransportUsesItselfAreNoPacketNames) {
    for (const std::wstring name : {L"rwd_testfile.TXT", L"TestFTPConnection.txt", L"~12-345.arriving"}) {
        EXPECT_FALSE(Add(temp.File(name, "packet")));
        EXPECT_THAT(framework.TakeLog(),
                    ElementsAre(AllOf(Reported(kMember + L"Add"), Tells(L"T:\\" + name))));
    }
    EXPECT_FALSE(temp.Exists(L"send"));
    EXPECT_TRUE(Add(temp.File(L"~week.arriving", "packet")));
}

TEST_F(Transporter, SendReceiveRunsItsStepsInOrder) {
    const auto* const all = L"reset,connect,send arg with progress,receive arg,disconnect,";
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"connect", L"reset,connect,"},
        {L"send", L"reset,connect,send arg with progress,disconnect,"},
        {L"receive", all},
        {L"disconnect", all},
        {L"none", all}};
    for (const auto& [failing, steps] : cases) {
        remote->failing = failing;
        EXPECT_EQ(SendReceive(), remote->failing == L"none");
        EXPECT_EQ(std::exchange(remote->steps, L""), steps);
    }
    remote->failing = L"connect";
    remote->loginCancelled = true;
    EXPECT_TRUE(SendReceive()) << "a cancelled login ends the cycle quietly";
    remote->failing = L"none";
    remote->broken = L"send";
    EXPECT_FALSE(SendReceive());
    EXPECT_THAT(framework.TakeLog(), OneReport(kMember + L"SendReceive"));
}

TEST_F(Transporter, AHostMayDropTheSenderReceiverWhileItRuns) {
    auto dropped = com::Make<Remote>();
    dropped->send = dropped->receive = temp.Path();
    ULONG left = 0;
    dropped->onConnect = [&, raw = dropped.Get()] {
        transporter->putref_SenderReceiver(remote.Get());
        raw->AddRef();
        left = raw->Release();
    };
    transporter->putref_SenderReceiver(dropped.Get());
    EXPECT_TRUE(SendReceive());
    EXPECT_EQ(left, 3u) << "held by the test, by the running cycle and by its call";
    EXPECT_EQ(dropped->steps, L"reset,connect,send arg with progress,receive arg,disconnect,");
    EXPECT_EQ(remote->steps, L"");
}

TEST_F(Transporter, AHostMayReplaceWhatItIsAsked) {
    auto dropped = com::Make<Remote>();
    ULONG left = 0;
    dropped->send = dropped->receive = temp.Path();
    dropped->onFolder = [&, raw = dropped.Get()] {
        transporter->putref_SenderReceiver(remote.Get());
        raw->AddRef();
        left = raw->Release();
    };
    transporter->putref_SenderReceiver(dropped.Get());
    AddEncoder(L".xml", L".oth")->onExtension = [this] {
        for (int i = 0; i < 10; ++i)
            AddEncoder(L".txt", L".oth");
    };
    AddEncoder(L".mdb", L".afz");
    EXPECT_TRUE(Add(temp.File(L"x.mdb")));
    EXPECT_EQ(left, 2u) << "held by the test and by the call";
    EXPECT_THAT(temp.Files(L"send"), ElementsAre(L"x.mdb.afz"));
}

TEST_F(Transporter, WithoutSenderReceiverEverythingEndsAtOnce) {
    transporter->putref_SenderReceiver(nullptr);
    EXPECT_FALSE(Add(temp.File(L"x.mdb")));
    EXPECT_FALSE(SendReceive());
    EXPECT_EQ(ResetReceived(), 0);
    EXPECT_EQ(NextReceived(), L"True ");
    EXPECT_EQ(ResetToSend(), 0);
    EXPECT_EQ(NextToSend(), L"True ");
    const auto reported = [](const wchar_t* name) {
        return Reported(kMember + name, L"SenderReceiver object has not been set");
    };
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(reported(L"Add"), reported(L"SendReceive"), reported(L"ResetLocalReceiveFiles"),
                            reported(L"NextLocalReceiveFile"), reported(L"ResetLocalSendFiles"),
                            reported(L"NextLocalSendFile")));
}

TEST_F(Transporter, AReportTellsTheLineOfTheCallThatFailed) {
    const auto lineOf = [&](std::wstring& folder) {
        const std::wstring previous = std::exchange(folder, L"broken");
        EXPECT_EQ(ResetReceived(), 0);
        EXPECT_EQ(NextReceived(), L"False ");
        EXPECT_EQ(ResetToSend(), 0);
        EXPECT_EQ(NextToSend(), L"False ");
        folder = previous;
        const std::vector<LogEntry> reports = framework.TakeLog();
        EXPECT_THAT(reports, ElementsAre(Reported(kMember + L"ResetLocalReceiveFiles"),
                                         Reported(kMember + L"NextLocalReceiveFile"),
                                         Reported(kMember + L"ResetLocalSendFiles"),
                                         Reported(kMember + L"NextLocalSendFile")));
        const std::wstring text = reports.back().text;
        return text.substr(text.find(L"\r\nError at line: "));
    };
    const std::wstring line = lineOf(remote->send);
    EXPECT_THAT(line, EndsWith(L" - Build: 1.0.0"));
    EXPECT_NE(line, lineOf(remote->receive));
}

TEST_F(Transporter, ListsWhatWaitsToBeSent) {
    temp.File(L"send\\sub\\b.mdb");
    EXPECT_EQ(ResetToSend(L"sub"), 1);
    for (const wchar_t* expected : {L"True T:\\send\\sub\\b.mdb", L"True ", L"True "})
        EXPECT_EQ(NextToSend(), expected);
    EXPECT_EQ(ResetToSend(L"missing"), 0);
    EXPECT_EQ(transporter->NextLocalSendFile(nullptr, nullptr), E_POINTER);
    const base::FileHandle inUse(CreateFileW((temp / L"send\\sub").c_str(), GENERIC_READ, 0, nullptr,
                                             OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    EXPECT_EQ(ResetToSend(L"sub"), 0);
    EXPECT_THAT(framework.TakeLog(), ElementsAre(AllOf(Reported(L"clsTransporter.cls.InitFileList"),
                                                       Tells(L")\r\nFolder: T:\\send\\sub\r\n"))));
}

TEST_F(Transporter, AFailedDeliveryPutsThePreviousFileBack) {
    temp.File(L"receive\\x.xml", "new");
    temp.File(L"inbox\\x.xml", "old");
    {
        const auto inUse = base::File::Open(temp / L"receive\\x.xml", GENERIC_READ, 0, OPEN_EXISTING);
        EXPECT_EQ(Deliver(), L"False ");
        EXPECT_THAT(framework.TakeLog(), OneReport(kMember + L"NextLocalReceiveFile"));
        EXPECT_EQ(temp.Content(L"inbox\\x.xml"), "old");
        EXPECT_THAT(temp.Files(L"inbox"), ElementsAre(L"x.xml"));
    }
    EXPECT_EQ(Deliver(), L"True T:\\inbox\\x.xml");
    EXPECT_EQ(NextReceived(), L"True ") << "the end of the list";
    EXPECT_EQ(temp.Content(L"inbox\\x.xml"), "new");
    EXPECT_THAT(temp.Files(), ElementsAre(L"inbox\\x.xml"));
}

TEST_F(Transporter, NoPacketTakesTheShortNameOfAnotherFile) {
    temp.File(L"inbox\\a week of work.xml", "a week of work");
    const std::wstring name = temp.ShortName(L"inbox\\a week of work.xml");
    if (name == L"a week of work.xml") GTEST_SKIP() << "needs a volume that keeps short names";
    temp.File(L"receive\\" + name, "packet");
    EXPECT_EQ(Deliver(), L"False ");
    EXPECT_THAT(framework.TakeLog(), ElementsAre(Tells(name + L" is the short name of another file")));
    EXPECT_EQ(temp.Content(L"inbox\\a week of work.xml"), "a week of work");
    EXPECT_THAT(temp.Files(), ElementsAre(L"inbox\\a week of work.xml", L"receive\\" + name));
}

TEST_F(Transporter, WhatHasTheNameOfABackupBlocksNoDeliveryAndStays) {
    temp.File(L"inbox\\x.xml_bak", "old");
    temp.File(L"receive\\x.xml", "new");
    {
        const auto inUse =
            base::File::Open(temp / L"receive\\x.xml", GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
        EXPECT_EQ(Deliver(), L"False ");
        EXPECT_THAT(temp.Files(L"inbox"), ElementsAre(L"x.xml_bak"));
        EXPECT_THAT(framework.TakeLog(), OneReport(kMember + L"NextLocalReceiveFile"));
    }
    for (const std::string content : {"new", "newest"}) {
        temp.File(L"receive\\x.xml", content);
        EXPECT_EQ(Deliver(), L"True T:\\inbox\\x.xml");
        EXPECT_EQ(temp.Content(L"inbox\\x.xml"), content);
        EXPECT_EQ(temp.Content(L"inbox\\x.xml_bak"), "old");
        EXPECT_THAT(framework.TakeLog(),
                    ElementsAre(Tells(L"T:\\inbox\\x.xml_bak", ZN_EVENTLOG_WARNING_TYPE)));
    }
}

TEST_F(Transporter, ANewerVersionThatComesDuringADecodingIsNotDeleted) {
    const auto encoder = AddEncoder(L".mdb", L".afz");
    const auto received = temp.File(L"receive\\x.mdb.afz", "older");
    encoder->onDecode = [&] {
        EXPECT_FALSE(
            MoveFileExW(temp.File(L"newer", "newer").c_str(), received.c_str(), MOVEFILE_REPLACE_EXISTING) &&
            temp.Content(L"receive\\x.mdb.afz") == "older");
        EXPECT_THROW(
            base::File::Open(received, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING),
            base::Error);
    };
    EXPECT_EQ(Deliver(), L"True T:\\inbox\\x.mdb");
    EXPECT_EQ(temp.Content(L"inbox\\x.mdb"), "older");
    EXPECT_TRUE(temp.Exists(L"newer") != temp.Exists(L"receive\\x.mdb.afz"))
        << "the newer one is in one place";
}

TEST_F(Transporter, AFileThatCannotBeDecodedStays) {
    const auto encoder = AddEncoder(L".mdb", L".afz");
    temp.File(L"receive\\x.mdb.AFZ", "packet");
    encoder->succeeds = false;
    EXPECT_EQ(Deliver(), L"False x.mdb");
    EXPECT_THAT(framework.log, IsEmpty()) << "the encoder has reported already";
    encoder->result = E_FAIL;
    EXPECT_EQ(Deliver(), L"False ");
    EXPECT_THAT(framework.TakeLog(), OneReport(kMember + L"NextLocalReceiveFile"));
    encoder->result = S_OK;
    encoder->succeeds = true;
    EXPECT_EQ(Deliver(), L"True T:\\inbox\\x.mdb");
    EXPECT_EQ(temp.Content(L"inbox\\x.mdb"), "packet");
    EXPECT_THAT(temp.Files(), ElementsAre(L"inbox\\x.mdb"));

    temp.File(L"receive\\x.mdb.afz");
    encoder->eats = true;
    EXPECT_EQ(Deliver(), L"False x.mdb");
    EXPECT_THAT(framework.TakeLog(), OneReport(kMember + L"NextLocalReceiveFile",
                                               L"The encoder failed to decompress and/or decode the file "
                                               L"T:\\receive\\x.mdb.afz."));
}

TEST_F(Transporter, WhatCouldNotBeDeletedAfterwardsIsNotDecoded) {
    const auto encoder = AddEncoder(L".mdb", L".afz");
    const std::wstring received = temp.File(L"receive\\x.mdb.afz", "packet");
    {
        const auto reader = Held(received, GENERIC_READ, FILE_SHARE_READ);
        EXPECT_EQ(Deliver(), L"False ");
    }
    temp.Protect(L"receive\\x.mdb.afz");
    EXPECT_EQ(Deliver(), L"False ");
    EXPECT_THAT(framework.TakeLog(), SizeIs(2));
    EXPECT_EQ(encoder->calls, 0) << "it would be decoded again, over what was made of it meanwhile";
    EXPECT_THAT(temp.Files(), ElementsAre(L"receive\\x.mdb.afz"));
}

TEST_F(Transporter, AMissingDestinationIsReportedNotCreated) {
    temp.File(L"receive\\x.xml");
    EXPECT_EQ(Deliver(L"nowhere"), L"False ");
    EXPECT_THAT(framework.TakeLog(), OneReport(kMember + L"NextLocalReceiveFile",
                                               L"Destination folder T:\\nowhere does not exist."));
    EXPECT_FALSE(temp.Exists(L"nowhere"));
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"x.xml"));
    EXPECT_EQ(transporter->NextLocalReceiveFile(In(L"x"), nullptr, nullptr), E_POINTER);
}

}  // namespace
}  // namespace tests
