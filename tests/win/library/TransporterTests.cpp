// The transporter with encoders and sender/receivers that a test arranges, over real folders.
#include <gmock/gmock.h>

#include <functional>

#include "com/Object.h"
#include "com/Result.h"
#include "com/Values.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/TempFolder.h"

using com::Return;
using com::Text;
using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Two folders; each step answers as arranged, and is written down.
class Remote final : public com::Object<IZNSenderReceiver> {
public:
    STDMETHODIMP get_LocalSendFolder(BSTR* Value) override {
        return Return(Value, [&] { return send; });
    }
    STDMETHODIMP put_LocalSendFolder(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_LocalReceiveFolder(BSTR* Value) override {
        return Return(Value, [&] { return receive; });
    }
    STDMETHODIMP put_LocalReceiveFolder(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_LoginCancelled(VARIANT_BOOL* Value) override {
        return Return(Value, [&] { return loginCancelled; });
    }
    STDMETHODIMP put_LoginCancelled(VARIANT_BOOL Value) override {
        steps += Value ? L"cancel!" : L"reset,";
        return S_OK;
    }
    STDMETHODIMP Send(BSTR Argument, IUnknown* Progress, VARIANT_BOOL* Success) override {
        return Step(L"send(" + Text(Argument) +
                        (Progress == static_cast<IZNSenderReceiver*>(this) ? L",progress)" : L")"),
                    Success);
    }
    STDMETHODIMP Receive(BSTR Argument, IUnknown*, VARIANT_BOOL* Success) override {
        return Step(L"receive(" + Text(Argument) + L")", Success);
    }
    STDMETHODIMP Init(IZNPropertySet*, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP Connect(VARIANT_BOOL* Success) override {
        onConnect();
        return Step(L"connect", Success);
    }
    STDMETHODIMP Disconnect(VARIANT_BOOL* Success) override { return Step(L"disconnect", Success); }

    std::wstring send;
    std::wstring receive;
    std::wstring steps;
    std::wstring failing;  ///< name of the step that answers False
    std::wstring broken;   ///< name of the step that answers an error
    bool loginCancelled = false;
    std::function<void()> onConnect = [] {};

private:
    HRESULT Step(const std::wstring& name, VARIANT_BOOL* success) {
        steps += name + L",";
        if (!broken.empty() && name.starts_with(broken)) return E_ACCESSDENIED;
        return Return(success, [&] { return failing.empty() || !name.starts_with(failing); });
    }
};

/// Copies a file and adds or drops its extension; tells what it was asked.
class Encoder final : public com::Object<IZNEncoder> {
public:
    Encoder(std::wstring in, std::wstring out) : inExtension(std::move(in)), outExtension(std::move(out)) {}

    STDMETHODIMP Encode(BSTR InFolder, BSTR OutFolder, BSTR FileName, VARIANT_BOOL* Success) override {
        calls += L"encode " + Text(FileName) + L",";
        if (FAILED(result)) return result;
        return Return(Success, [&] {
            return succeeds &&
                   CopyFileW((Text(InFolder) + L"\\" + Text(FileName)).c_str(),
                             (Text(OutFolder) + L"\\" + Text(FileName) + outExtension).c_str(), FALSE) != 0;
        });
    }
    STDMETHODIMP Decode(BSTR InFolder, BSTR OutFolder, BSTR FileName, BSTR* OutFile,
                        VARIANT_BOOL* Success) override {
        calls += L"decode " + Text(FileName) + L",";
        if (FAILED(result)) return result;
        return Return(Success, [&] {
            const std::wstring source = Text(InFolder) + L"\\" + Text(FileName) + outExtension;
            const std::wstring target = Text(OutFolder) + L"\\" + Text(FileName);
            com::Replace(OutFile, target);
            if (eats) DeleteFileW(source.c_str());
            return succeeds && CopyFileW(source.c_str(), target.c_str(), FALSE) != 0;
        });
    }
    STDMETHODIMP get_InExtension(BSTR* Value) override {
        return Return(Value, [&] { return inExtension; });
    }
    STDMETHODIMP put_InExtension(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_OutExtension(BSTR* Value) override {
        return Return(Value, [&] { return outExtension; });
    }
    STDMETHODIMP put_OutExtension(BSTR) override { return E_NOTIMPL; }

    std::wstring inExtension;
    std::wstring outExtension;
    std::wstring calls;
    bool succeeds = true;
    bool eats = false;  ///< deletes the encoded file
    HRESULT result = S_OK;
};

class Transporter : public LibraryTest {
protected:
    Transporter() : transporter(Create<clsTransporter, IZNTransporter>()) {
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
    bool Add(const std::wstring& file, const wchar_t* subFolder = L"") {
        return com::Get<bool>(&IZNTransporter::Add, transporter.Get(), com::Bstr(file).Get(),
                              com::Bstr(subFolder).Get());
    }
    bool SendReceive() {
        return com::Get<bool>(&IZNTransporter::SendReceive, transporter.Get(), com::Bstr(L"arg").Get(),
                              static_cast<IZNSenderReceiver*>(remote.Get()));
    }
    LONG ResetReceived(const wchar_t* subFolder = L"") {
        return com::Get<LONG>(&IZNTransporter::ResetLocalReceiveFiles, transporter.Get(),
                              com::Bstr(subFolder).Get());
    }
    /// The result of NextLocalReceiveFile and the file name, relative to the scratch folder.
    std::wstring NextReceived(const std::wstring& folder = L"inbox") {
        com::Bstr name;
        const bool result = com::Get<bool>(&IZNTransporter::NextLocalReceiveFile, transporter.Get(),
                                           com::Bstr(temp / folder).Get(), name.Put());
        return Shown(result, name.Text());
    }
    std::wstring NextToSend() {
        com::Bstr name;
        const bool result = com::Get<bool>(&IZNTransporter::NextLocalSendFile, transporter.Get(), name.Put());
        return Shown(result, name.Text());
    }

    TempFolder temp;
    ComPtr<Remote> remote = com::Make<Remote>();
    ComPtr<IZNTransporter> transporter;

private:
    std::wstring Shown(bool result, std::wstring name) {
        if (name.starts_with(temp.Path())) name = name.substr(temp.Path().size() + 1);
        return (result ? L"True:" : L"False:") + name;
    }
};

TEST_F(Transporter, AddCopiesWhatNoEncoderTakes) {
    const auto file = temp.File(L"outbox\\x.xml", "packet");
    temp.File(L"send\\sub\\deep\\x.xml", "older");
    EXPECT_TRUE(Add(file));
    EXPECT_TRUE(Add(file, L"sub\\deep"));
    EXPECT_EQ(temp.Content(L"send\\x.xml"), "packet");
    EXPECT_EQ(temp.Content(L"send\\sub\\deep\\x.xml"), "packet");
    EXPECT_EQ(temp.Content(L"outbox\\x.xml"), "packet");
    EXPECT_THAT(framework.log, IsEmpty());
}

TEST_F(Transporter, TheFirstEncoderOfTheExtensionTakesIt) {
    const auto other = AddEncoder(L".xml", L".oth");
    const auto first = AddEncoder(L".MDB", L".afz");
    const auto second = AddEncoder(L".mdb", L".axd");
    EXPECT_TRUE(Add(temp.File(L"x.mdb")));
    EXPECT_EQ(first->calls, L"encode x.mdb,");
    EXPECT_EQ(second->calls + other->calls, L"");
    EXPECT_THAT(temp.Files(L"send"), ElementsAre(L"x.mdb.afz"));
    ComPtr<IZNEncoder> current;
    EXPECT_EQ(transporter->get_Encoder(&current), S_OK);
    EXPECT_EQ(current.Get(), first.Get());

    first->succeeds = false;
    EXPECT_FALSE(Add(temp.File(L"y.mdb")));
    EXPECT_EQ(second->calls, L"");
    EXPECT_EQ(transporter->putref_Encoder(nullptr), E_POINTER);
}

TEST_F(Transporter, AddReportsWhatItCannotDo) {
    EXPECT_FALSE(Add(temp / L"missing.mdb"));
    EXPECT_EQ(framework.log.at(0).text, L"Test Tool:\r\nclsTransporter.cls.IZNTransporter_Add\r\nFile " +
                                            temp / L"missing.mdb" + L" does not exist");
    const auto encoder = AddEncoder(L".mdb", L".afz");
    encoder->result = E_ACCESSDENIED;
    EXPECT_FALSE(Add(temp.File(L"x.mdb")));
    EXPECT_THAT(framework.log.at(1).text, HasSubstr(L"clsTransporter.cls.IZNTransporter_Add\r\n"));
    temp.File(L"blocked");
    remote->send = temp / L"blocked";
    EXPECT_FALSE(Add(temp.File(L"x.xml"))) << "a file stands where the send folder should be";
    EXPECT_THAT(framework.LogText(), HasSubstr(L"Could not create folder"));
    remote->send.clear();
    EXPECT_FALSE(Add(temp.File(L"x.xml")));
    EXPECT_THAT(framework.LogText(), HasSubstr(L"Local send or receive folder is not set."));
}

TEST_F(Transporter, SendReceiveRunsItsStepsInOrder) {
    EXPECT_TRUE(SendReceive());
    EXPECT_EQ(remote->steps, L"reset,connect,send(arg,progress),receive(arg),disconnect,");
    struct Case {
        const wchar_t* failing;
        const wchar_t* steps;
    };
    for (const Case& c : {Case{L"connect", L"reset,connect,"},
                          {L"send", L"reset,connect,send(arg,progress),disconnect,"},
                          {L"receive", L"reset,connect,send(arg,progress),receive(arg),disconnect,"},
                          {L"disconnect", L"reset,connect,send(arg,progress),receive(arg),disconnect,"}}) {
        remote->failing = c.failing;
        remote->steps.clear();
        EXPECT_FALSE(SendReceive()) << testing::PrintToString(std::wstring(c.failing));
        EXPECT_EQ(remote->steps, c.steps);
    }
    EXPECT_THAT(framework.log, IsEmpty());
    remote->failing = L"connect";
    remote->loginCancelled = true;
    EXPECT_TRUE(SendReceive()) << "a cancelled login ends the cycle quietly";
}

TEST_F(Transporter, AnErrorOfTheSenderReceiverIsReported) {
    remote->broken = L"send";
    EXPECT_FALSE(SendReceive());
    EXPECT_THAT(framework.log.at(0).text, HasSubstr(L"clsTransporter.cls.IZNTransporter_SendReceive\r\n"));
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
    EXPECT_EQ(left, 2u) << "held by the test and by the running cycle";
    EXPECT_EQ(dropped->steps, L"reset,connect,send(arg),receive(arg),disconnect,");
    EXPECT_EQ(remote->steps, L"");
}

TEST_F(Transporter, WithoutSenderReceiverEverythingEndsAtOnce) {
    transporter->putref_SenderReceiver(nullptr);
    EXPECT_FALSE(Add(temp.File(L"x.mdb")));
    EXPECT_FALSE(SendReceive());
    EXPECT_EQ(ResetReceived(), 0);
    EXPECT_EQ(NextReceived(), L"True:");
    EXPECT_EQ(NextToSend(), L"True:");
    ASSERT_EQ(framework.log.size(), 5u);
    for (const LogEntry& entry : framework.log)
        EXPECT_THAT(entry.text, HasSubstr(L"SenderReceiver object has not been set"));
}

TEST_F(Transporter, ListsWhatWaitsToBeSent) {
    temp.File(L"send\\a.mdb");
    temp.File(L"send\\sub\\b.mdb");
    const auto reset = [&](const wchar_t* folder) {
        return com::Get<LONG>(&IZNTransporter::ResetLocalSendFiles, transporter.Get(),
                              com::Bstr(folder).Get());
    };
    EXPECT_EQ(reset(L""), 1);
    EXPECT_EQ(NextToSend(), L"True:send\\a.mdb");
    EXPECT_EQ(NextToSend(), L"True:");
    EXPECT_EQ(NextToSend(), L"True:");
    EXPECT_EQ(reset(L"sub"), 1);
    EXPECT_EQ(NextToSend(), L"True:send\\sub\\b.mdb");
    EXPECT_EQ(reset(L"missing"), 0);
    EXPECT_EQ(transporter->NextLocalSendFile(nullptr, nullptr), E_POINTER);
}

TEST_F(Transporter, DeliversUnchangedFiles) {
    temp.File(L"receive\\sub\\x.xml", "new");
    temp.File(L"inbox\\x.xml", "old");
    EXPECT_EQ(ResetReceived(L"sub"), 1);
    EXPECT_EQ(NextReceived(), L"True:inbox\\x.xml");
    EXPECT_EQ(NextReceived(), L"True:");
    EXPECT_EQ(temp.Content(L"inbox\\x.xml"), "new");
    EXPECT_THAT(temp.Files(L"inbox"), ElementsAre(L"x.xml"));
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
}

TEST_F(Transporter, AFailedDeliveryPutsThePreviousFileBack) {
    temp.File(L"receive\\x.xml", "new");
    temp.File(L"inbox\\x.xml", "old");
    const HANDLE lock =
        CreateFileW((temp / L"receive\\x.xml").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_EQ(ResetReceived(), 1);
    EXPECT_EQ(NextReceived(), L"False:");
    CloseHandle(lock);
    EXPECT_EQ(temp.Content(L"inbox\\x.xml"), "old");
    EXPECT_THAT(temp.Files(L"inbox"), ElementsAre(L"x.xml"));
    EXPECT_THAT(framework.log.at(0).text,
                HasSubstr(L"clsTransporter.cls.IZNTransporter_NextLocalReceiveFile\r\n"));
    EXPECT_EQ(ResetReceived(), 1) << "offered again";
    EXPECT_EQ(NextReceived(), L"True:inbox\\x.xml");
    EXPECT_EQ(temp.Content(L"inbox\\x.xml"), "new");
}

TEST_F(Transporter, AKeptCopyOfAnEarlierRunIsNeverOverwritten) {
    temp.File(L"receive\\x.xml", "new");
    temp.File(L"inbox\\x.xml", "old");
    temp.File(L"inbox\\x.xml_bak", "older");
    ASSERT_EQ(ResetReceived(), 1);
    EXPECT_EQ(NextReceived(), L"False:");
    EXPECT_EQ(temp.Content(L"receive\\x.xml") + temp.Content(L"inbox\\x.xml") +
                  temp.Content(L"inbox\\x.xml_bak"),
              "newoldolder");
    EXPECT_THAT(framework.log.at(0).text, HasSubstr(L"x.xml_bak")) << "the report names the file in the way";
}

TEST_F(Transporter, DecodesAndDeletesTheReceivedFile) {
    const auto encoder = AddEncoder(L".mdb", L".afz");
    temp.File(L"receive\\x.mdb.AFZ", "packet");
    ASSERT_EQ(ResetReceived(), 1);
    EXPECT_EQ(NextReceived(), L"True:inbox\\x.mdb");
    EXPECT_EQ(encoder->calls, L"decode x.mdb,");
    EXPECT_EQ(temp.Content(L"inbox\\x.mdb"), "packet");
    EXPECT_THAT(temp.Files(L"receive"), IsEmpty());
}

TEST_F(Transporter, AFileThatCannotBeDecodedStays) {
    const auto encoder = AddEncoder(L".mdb", L".afz");
    encoder->succeeds = false;
    temp.File(L"receive\\x.mdb.afz");
    ASSERT_EQ(ResetReceived(), 1);
    EXPECT_EQ(NextReceived(), L"False:x.mdb");
    EXPECT_THAT(framework.log, IsEmpty()) << "the encoder has reported already";
    EXPECT_EQ(ResetReceived(), 1);
    encoder->result = E_FAIL;
    EXPECT_EQ(NextReceived(), L"False:");
    EXPECT_EQ(framework.log.size(), 1u);
    EXPECT_EQ(ResetReceived(), 1);
    encoder->result = S_OK;
    encoder->eats = true;
    EXPECT_EQ(NextReceived(), L"False:x.mdb");
    EXPECT_EQ(framework.log.at(1).text,
              L"Test Tool:\r\nclsTransporter.cls.IZNTransporter_NextLocalReceiveFile\r\n"
              L"The encoder failed to decompress and/or decode the file " +
                  temp / L"receive\\x.mdb.afz" + L".");
}

TEST_F(Transporter, AMissingDestinationIsReportedNotCreated) {
    temp.File(L"receive\\x.xml");
    ASSERT_EQ(ResetReceived(), 1);
    EXPECT_EQ(NextReceived(L"nowhere"), L"False:");
    EXPECT_EQ(framework.log.at(0).text,
              L"Test Tool:\r\nclsTransporter.cls.IZNTransporter_NextLocalReceiveFile\r\n"
              L"Destination folder " +
                  temp / L"nowhere" + L" does not exist.");
    EXPECT_FALSE(temp.Exists(L"nowhere"));
    EXPECT_THAT(temp.Files(L"receive"), ElementsAre(L"x.xml"));
    EXPECT_EQ(transporter->NextLocalReceiveFile(com::Bstr(L"x").Get(), nullptr, nullptr), E_POINTER);
}

}  // namespace
}  // namespace tests
