// The encoders over programs that do as the test arranges: command lines, settings, results and texts.
#include <thread>

#include "base/Environment.h"
#include "com/Create.h"
#include "tests/win/support/ChildPrograms.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/Meanwhile.h"

namespace tests {
namespace {

template <class Class, class DefaultInterface>
class EncoderTest : public ScratchTest {
protected:
    EncoderTest() {
        framework.resources = {{145, L"Test Tool"}, {140, L"Zip"}, {110, L"Difference"}};
        framework.registry[L"1//ZNBinDir"] = children.Folder();
        // What the first word of the program folder's path names must not be tried.
        temp.File(L"program.exe", "no program");
        temp.Folder(L"in");
        temp.Folder(L"out");
    }

    void Create() {
        encoder = ScratchTest::Create<Class, IZNEncoder2>();
        encoder.As(&settings);
    }
    HRESULT Configure(const std::vector<std::pair<std::wstring, std::wstring>>& values) {
        return encoder->putref_PropSet(Properties(values).Get());
    }
    std::wstring Configuration() {
        ComPtr<IZNPropertySet> set;
        EXPECT_EQ(encoder->get_PropSet(&set), S_OK);
        return PropertiesAsText(set.Get());
    }
    bool Encode(const wchar_t* name) {
        return Ask<bool>(&IZNEncoder2::Encode, encoder, temp / L"in", temp / L"out", name, outFile.Put());
    }
    bool Decode(const wchar_t* name) {
        return Ask<bool>(&IZNEncoder2::Decode, encoder, temp / L"in", temp / L"out", name, outFile.Put());
    }

    ChildPrograms children{temp};
    ComPtr<IZNEncoder2> encoder;
    ComPtr<DefaultInterface> settings;
    Bstr outFile;
};

// --- Zip --------------------------------------------------------------------------------------------

const std::wstring kPrograms = L"T:\\program files\\";
const std::wstring kEncode = L"clsZipEncoder.cls.IZNEncoder_Encode";

class ZipEncoder : public EncoderTest<clsZipEncoder, _clsZipEncoder> {
protected:
    ZipEncoder() {
        SetEnvironmentVariableW(L"TEMP", temp.Folder(L"work").c_str());
        children.Install(L"Zip.exe");
        Create();
    }
    ~ZipEncoder() override { SetEnvironmentVariableW(L"TEMP", m_previousTemp.c_str()); }

    bool EncodeAfter(const wchar_t* steps) {
        children.Script(std::wstring(steps) + L"write T:\\work\\a b.mdb.afz*zipped");
        return Encode(L"a b.mdb");
    }

    const std::wstring m_previousTemp = base::EnvironmentVariable(L"TEMP");
};

TEST_F(ZipEncoder, TakesDefaultsFromTheRegistryAndSettingsFromTheSet) {
    EXPECT_EQ(Configuration(), L"COMPRESSION_LEVEL=0\nIN_EXTENSION=.mdb\nOUT_EXTENSION=.afz\nTIMEOUT=60\n"
                               L"ZIP_UTIL_LOCATION=" +
                                   children.Folder() + L"\n");
    framework.registry[L"13/Transport/ZipTimeout"] = L"7";
    Create();
    EXPECT_EQ(Ask<LONG>(&_clsZipEncoder::get_ZipTimeout, settings), 7);
    EXPECT_EQ(Configure({{L"COMPRESSION_LEVEL", L"9"},
                         {L"IN_EXTENSION", L".xml"},
                         {L"OUT_EXTENSION", L".xz"},
                         {L"ZIP_UTIL_LOCATION", L"Z:\\bin"}}),
              S_OK);
    EXPECT_EQ(Configuration(), L"COMPRESSION_LEVEL=9\nIN_EXTENSION=.xml\nOUT_EXTENSION=.xz\nTIMEOUT=7\n"
                               L"ZIP_UTIL_LOCATION=Z:\\bin\n");
    EXPECT_EQ(Ask<LONG>(&_clsZipEncoder::get_CompressionLevel, settings), 9);
    EXPECT_EQ(Ask<std::wstring>(&_clsZipEncoder::get_ZipUtilLocation, settings), L"Z:\\bin");
    const auto plain = com::As<IZNEncoder>(encoder.Get());
    plain->put_InExtension(In(L".in"));
    plain->put_OutExtension(In(L".out"));
    EXPECT_EQ(Ask<std::wstring>(&IZNEncoder::get_InExtension, plain), L".in");
    EXPECT_EQ(Ask<std::wstring>(&IZNEncoder::get_OutExtension, plain), L".out");
    EXPECT_EQ(Configure({{L"TIMEOUT", L"soon"}}), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(Administration(encoder), L"Zip in {category 134}");
}

TEST_F(ZipEncoder, ADefaultThatCannotBeReadIsReportedAndNotTaken) {
    framework.registry[L"13/Transport/ZipTimeout"] = L"soon";
    framework.unreadable = L"1//ZNBinDir";
    Create();
    EXPECT_EQ(Ask<LONG>(&_clsZipEncoder::get_ZipTimeout, settings), 60);
    EXPECT_EQ(Ask<std::wstring>(&_clsZipEncoder::get_ZipUtilLocation, settings), L"");
    const auto report = Reported(L"clsZipEncoder.cls.Class_Initialize");
    EXPECT_THAT(framework.TakeLog(),
                AllOf(ElementsAre(report, report), Contains(Tells(L"registry value ZipTimeout = soon"))));
    framework.unreadable.clear();
    EXPECT_EQ(Configure({{L"TIMEOUT", L"5"}}), S_OK);
    EXPECT_EQ(Configure({}), DISP_E_TYPEMISMATCH);
    framework.registry[L"13/Transport/XDeltaTimeout"] = L"soon";
    const auto delta = ScratchTest::Create<clsXDeltaEncoder, _clsXDeltaEncoder>();
    EXPECT_EQ(Ask<LONG>(&_clsXDeltaEncoder::get_Timeout, delta), 60);
    EXPECT_THAT(framework.TakeLog(), OneReport(L"clsXDeltaEncoder.cls.Class_Initialize"));
}

TEST_F(ZipEncoder, EncodesThroughTheWorkFile) {
    temp.File(L"work\\a b.mdb.afz", "left by an earlier failure");
    EXPECT_TRUE(EncodeAfter(L""));
    EXPECT_EQ(outFile.Text(), temp / L"out\\a b.mdb.afz");
    EXPECT_EQ(temp.Content(L"out\\a b.mdb.afz"), "zipped");
    EXPECT_THAT(temp.Files(L"work"), IsEmpty());
    EXPECT_EQ(children.CommandLine(),
              kPrograms + L"Zip.exe -jo \"T:\\work\\a b.mdb.afz\" \"T:\\in\\a b.mdb\"");
    EXPECT_FALSE(EncodeAfter(L"")) << "the target of before is in the way";
    EXPECT_EQ(temp.Content(L"work\\a b.mdb.afz"), "zipped");
    EXPECT_THAT(framework.TakeLog(), OneReport(kEncode));
}

TEST_F(ZipEncoder, ThePacketIsNotItsOwnWorkFile) {
    com::As<IZNEncoder>(encoder.Get())->put_OutExtension(In(L""));
    temp.File(L"work\\x.mdb", "packet");
    children.Script(L"write T:\\work\\x.mdb*zipped");
    EXPECT_FALSE(
        Ask<bool>(&IZNEncoder2::Encode, encoder, temp / L"work", temp / L"out", L"x.mdb", outFile.Put()));
    EXPECT_EQ(temp.Content(L"work\\x.mdb"), "packet");
    EXPECT_THAT(framework.TakeLog(), ElementsAre(AllOf(Reported(kEncode), Tells(L"OutExtension is empty"))));
}

TEST_F(ZipEncoder, DecodesIntoTheFolder) {
    children.Install(L"Unzip.exe");
    children.Script(L"write T:\\out\\a b.mdb*packet");
    EXPECT_TRUE(Decode(L"a b.mdb"));
    EXPECT_EQ(outFile.Text(), temp / L"out\\a b.mdb");
    EXPECT_EQ(children.CommandLine(), kPrograms + L"Unzip.exe -oj \"T:\\in\\a b.mdb.afz\" -d \"T:\\out\"");
}

TEST_F(ZipEncoder, PassesOnlyLevelsThatExist) {
    const std::pair<LONG, const wchar_t*> levels[] = {
        {1, L"Zip.exe -1 -jo "}, {9, L"Zip.exe -9 -jo "}, {0, L"Zip.exe -jo "}, {10, L"Zip.exe -jo "}};
    for (const auto& [level, expected] : levels) {
        settings->put_CompressionLevel(level);
        EXPECT_TRUE(EncodeAfter(L""));
        EXPECT_THAT(children.CommandLine(), StartsWith(kPrograms + expected));
        DeleteFileW(outFile.Get());
    }
}

TEST_F(ZipEncoder, AZipProgramBeyondItsTimeRunsOnAndKeepsItsWorkFileFromOthers) {
    settings->put_ZipTimeout(0);
    EXPECT_FALSE(EncodeAfter(L"await T:\\go|"));
    EXPECT_THAT(framework.TakeLog(), OneReport(kEncode, L"Zip program timed out for T:\\in\\a b.mdb"));
    Create();
    settings->put_ZipTimeout(0);
    children.Script(L"write T:\\go*x|await T:\\work\\a b.mdb.afz");
    EXPECT_FALSE(Encode(L"A b.mdb")) << "by another object, of another folder";
    EXPECT_THAT(framework.TakeLog(),
                OneReport(kEncode, L"A zip program that has exceeded its time still runs, and may write "
                                   L"T:\\work\\A b.mdb.afz. Until it ends, nothing else becomes that file: "
                                   L"T:\\in\\A b.mdb was not encoded."));
    temp.File(L"go");
    EXPECT_TRUE(temp.Appears(L"work\\a b.mdb.afz"));
    settings->put_ZipTimeout(60);
    children.Script(L"write T:\\work\\a b.mdb.afz*another");
    EXPECT_TRUE(Encode(L"a b.mdb"));
    EXPECT_EQ(temp.Content(L"out\\a b.mdb.afz"), "another");
}

TEST_F(ZipEncoder, TwoPacketsOfOneNameDoNotShareAWorkFile) {
    const Meanwhile meanwhile([&] {
        EXPECT_TRUE(temp.Appears(L"work\\a b.mdb.afz"));
        children.Script(L"");
        EXPECT_FALSE(Ask<bool>(&IZNEncoder2::Encode, encoder, temp.Folder(L"other"), temp.Folder(L"sub"),
                               L"A b.mdb", outFile.Put()));
        temp.File(L"go");
    });
    children.Script(L"write T:\\work\\a b.mdb.afz*zipped|await T:\\go");
    EXPECT_TRUE(Encode(L"a b.mdb"));
    EXPECT_EQ(temp.Content(L"out\\a b.mdb.afz"), "zipped");
    EXPECT_THAT(temp.Files(L"sub"), IsEmpty());
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(AllOf(Reported(kEncode),
                                  Tells(L"Another call is making the file T:\\work\\A b.mdb.afz "))));
}

TEST_F(ZipEncoder, AWorkFileThatComesLateFailsTheEncoding) {
    // The program's end is not its file's.
    children.Script(L"hold T:\\running|write T:\\done*x");
    std::thread late([&] {
        for (temp.Appears(L"done"); temp.Exists(L"running");)
            Sleep(10);
        Sleep(500);
        temp.File(L"work\\x.mdb.afz");
    });
    const auto transporter = ScratchTest::Create<clsTransporter, _clsTransporter>();
    const auto folders = ScratchTest::Create<clsXCOPYSndRcv, _clsXCOPYSndRcv>();
    folders->put_SendFolder(In(temp / L"out"));
    folders->put_ReceiveFolder(In(temp / L"receive"));
    EXPECT_EQ(transporter->putref_SenderReceiver(folders.Get()), S_OK);
    EXPECT_EQ(transporter->AddEncoder(settings.Get()), S_OK);
    EXPECT_THAT(FailureOf([&] {
                    com::Check(transporter->Add(In(temp.File(L"in\\x.mdb")), com::Variant().Get()));
                }).description,
                HasSubstr(L"stays where it is.\r\nIt took "));
    late.join();
    EXPECT_THAT(
        framework.TakeLog(),
        ElementsAre(
            Field(&LogEntry::text,
                  AllOf(StartsWith(L"Unknown Source::\r\n" + kEncode + L"\r\nIt took "),
                        EndsWith(
                            L" seconds waiting for the zip output file T:\\work\\x.mdb.afz to be written., "
                            L"gk_sToolName, False, ZN_EVENTLOG_WARNING_TYPE"))),
            Reported(kEncode, L"Invalid procedure call or argument\r\n")));
}

TEST_F(ZipEncoder, AMissingProgramIsReportedOnce) {
    settings->put_ZipUtilLocation(In(temp / L"nowhere"));
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_FALSE(Decode(L"x.mdb"));
    EXPECT_THAT(framework.TakeLog(), OneReport(L"clsZipEncoder.cls.ProgramExists",
                                               L"program T:\\nowhere\\Zip.exe does not exist"));
}

// --- Binary difference ------------------------------------------------------------------------------

const std::wstring kDelta = L"clsXDeltaEncoder.cls.";

class DeltaEncoder : public EncoderTest<clsXDeltaEncoder, _clsXDeltaEncoder> {
protected:
    DeltaEncoder() {
        children.Install(L"xDelta.exe");
        Create();
        encoder->put_ApplicationName(In(L"App"));
        Configure({{L"REFERENCE_PATH", reference}});
    }

    std::wstring reference = temp.File(L"refs\\Base1.AXR", "reference");
};

TEST_F(DeltaEncoder, TakesDefaultsFromRegistryAndFolderLocator) {
    EXPECT_EQ(Ask<std::wstring>(&IZNEncoder2::get_ApplicationName, encoder), L"App");
    framework.registry[L"13/Transport/XDeltaTimeout"] = L"8";
    framework.folders = {{L"F/XDeltaRefPath", L"F:\\field.AXR"}, {L"E/XDeltaRefPath", L"E:\\enterprise.AXR"}};
    Create();
    EXPECT_EQ(Ask<LONG>(&_clsXDeltaEncoder::get_Timeout, settings), 8);
    encoder->put_ApplicationName(In(L"App"));
    framework.registry[L"1//XDeltaTimeout"] = L"6";
    EXPECT_EQ(Configure({}), S_OK);
    EXPECT_THAT(Configuration(), HasSubstr(L"TIMEOUT=6\n")) << "from the key that its creation has opened";
    EXPECT_EQ(Configure({{L"MOBILE", L"true"}, {L"TIMEOUT", L"5"}}), S_OK);
    EXPECT_EQ(Configuration(),
              L"IN_EXTENSION=.mdb\nOUT_EXTENSION=.axd\nREFERENCE_PATH=F:\\field.AXR\nTIMEOUT=5\n"
              L"XDELTA_UTIL_LOCATION=" +
                  children.Folder() + L"\\\n");
    framework.registry[L"1//XDeltaTimeout"] = L"9";
    EXPECT_EQ(Configure({}), S_OK);
    EXPECT_THAT(Configuration(), HasSubstr(L"REFERENCE_PATH=E:\\enterprise.AXR"));
    EXPECT_THAT(Configuration(), HasSubstr(L"TIMEOUT=9\n")) << "from the key that is open";
    const auto ftp = ScratchTest::Create<clsFTPSndRcv, IZNSenderReceiver2>();
    ftp->put_ApplicationName(In(L"App"));
    ftp->putref_PropSet(
        Properties({{L"REMOTE_SEND_FOLDER", L"in"}, {L"REMOTE_RECEIVE_FOLDER", L"out"}}).Get());
    Configure({});
    EXPECT_THAT(Configuration(), HasSubstr(L"TIMEOUT=8\n")) << "from the one that FTP has opened";
    framework.registry[L"13/Transport/XDeltaTimeout"] = L"7";
    EXPECT_TRUE(Ask<bool>(&IZNSenderReceiver2::Disconnect, ftp));
    Configure({});
    EXPECT_THAT(Configuration(), HasSubstr(L"TIMEOUT=7\n")) << "the same before its first connection";
    EXPECT_EQ(Administration(encoder), L"Difference in {category 134}");
}

TEST_F(DeltaEncoder, AMissingProgramRaisesFromTheSettings) {
    constexpr auto kInvalidCall = static_cast<HRESULT>(0x800A0005);
    EXPECT_EQ(Configure({{L"REFERENCE_PATH", reference}, {L"XDELTA_UTIL_LOCATION", temp / L"nowhere"}}),
              kInvalidCall);
    EXPECT_EQ(settings->put_XDeltaUtilLocation(In(temp / L"nowhere\\")), kInvalidCall);
    EXPECT_FALSE(Encode(L"x.mdb"));
    const auto missing =
        Reported(kDelta + L"XDeltaUtilLocation", L"program T:\\nowhere\\xDelta.exe does not exist");
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(missing, missing,
                            Reported(kDelta + L"ValidRegistryKeys",
                                     L"The xDelta location has not been set up properly.")));
    for (const std::wstring& folder : {children.Folder(), children.Folder() + L"\\"}) {
        EXPECT_EQ(settings->put_XDeltaUtilLocation(In(folder)), S_OK);
        EXPECT_EQ(Ask<std::wstring>(&_clsXDeltaEncoder::get_XDeltaUtilLocation, settings),
                  children.Folder() + L"\\");
    }
}

TEST_F(DeltaEncoder, SettingsThatCannotBeReadAreReportedAndNotTaken) {
    EXPECT_EQ(
        Configure({{L"TIMEOUT", L"soon"}, {L"REFERENCE_PATH", L"none"}, {L"XDELTA_UTIL_LOCATION", L""}}),
        S_OK);
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(AllOf(Reported(kDelta + L"IZNEncoder2_PropSet"), Tells(L"TIMEOUT = soon"))));
    EXPECT_THAT(Configuration(), HasSubstr(L"REFERENCE_PATH=" + reference));
    EXPECT_THAT(Configuration(), HasSubstr(L"XDELTA_UTIL_LOCATION=" + children.Folder()));
    const ComPtr<IZNPropertySet> odd = Properties({{L"REFERENCE_PATH", reference}});
    VARIANT noText{};
    noText.vt = VT_ERROR;
    ASSERT_EQ(odd->SetProperty(In(L"XDELTA_UTIL_LOCATION"), noText), S_OK);
    EXPECT_EQ(encoder->putref_PropSet(odd.Get()), DISP_E_TYPEMISMATCH)
        << "where a missing program raises, too";
    EXPECT_THAT(framework.TakeLog(), SizeIs(1));
}

TEST_F(DeltaEncoder, EncodesBesideTheReferencesName) {
    children.Script(L"write T:\\out\\a b.mdb~Base1.axd*delta");
    EXPECT_FALSE(Encode(L"a*b.mdb")) << "the system does not tell whether a previous one is in the way";
    EXPECT_FALSE(children.WasStarted());
    EXPECT_THAT(framework.TakeLog(), OneReport(kDelta + L"IZNEncoder_Encode"));
    EXPECT_TRUE(Encode(L"a b.mdb"));
    EXPECT_EQ(outFile.Text(), temp / L"out\\a b.mdb~Base1.axd");
    EXPECT_EQ(children.CommandLine(), kPrograms +
                                          L"xDelta.exe delta \"T:\\refs\\Base1.AXR\" \"T:\\in\\a b.mdb\" "
                                          L"\"T:\\out\\a b.mdb~Base1.axd\"");
    EXPECT_TRUE(Encode(L"a b.mdb")) << "again";
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"a b.mdb~Base1.axd", L"a b.mdb~Base1.axd_bck"));
    EXPECT_FALSE(Encode(L"a b.mdb")) << "the backup that stayed is in the way";
    EXPECT_THAT(framework.TakeLog(), OneReport(kDelta + L"IZNEncoder_Encode"));
}

TEST_F(DeltaEncoder, DecodesWithTheReferenceThatTheNameTells) {
    temp.File(L"in\\a b.mdb~Base1.axd");
    children.Script(L"write T:\\out\\a b.mdb*packet");
    EXPECT_TRUE(Decode(L"a b.mdb~Base1"));
    EXPECT_EQ(outFile.Text(), temp / L"out\\a b.mdb");
    EXPECT_EQ(children.CommandLine(), kPrograms + L"xDelta.exe patch \"T:\\in\\a b.mdb~Base1.axd\" "
                                                  L"\"T:\\refs\\Base1.AXR\" \"T:\\out\\a b.mdb\"");
}

TEST_F(DeltaEncoder, AFailedDeltaBringsThePreviousFileBack) {
    temp.File(L"out\\x.mdb~Base1.axd", "previous");
    const auto reported = [&](const wchar_t* why) {
        return Reported(kDelta + L"IZNEncoder_Encode", L"Command: " + children.CommandLine() + L"\r\n" + why);
    };
    children.Script(L"exit 1");
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_THAT(framework.TakeLog(), ElementsAre(reported(L"failed to create an output file")));
    settings->put_Timeout(0);
    children.Script(L"write T:\\out\\x.mdb~Base1.axd*half|await never");
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_THAT(framework.TakeLog(), Contains(reported(L"Command timed out")));
    framework.logResult = E_ACCESSDENIED;
    EXPECT_EQ(FailureOf([&] { Encode(L"x.mdb"); }).number, E_ACCESSDENIED);
    EXPECT_EQ(temp.Content(L"out\\x.mdb~Base1.axd"), "previous");
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"x.mdb~Base1.axd"));
}

TEST_F(DeltaEncoder, NeedsItsReferenceFile) {
    const auto reported = [](const std::wstring& text) {
        return Reported(kDelta + L"ValidRegistryKeys",
                        text +
                            L"\r\nRun the Tulrec application which will set the registry key to the correct "
                            L"xDelta reference file.");
    };
    settings->put_ReferencePath(In(temp.File(L"some.AXR")));
    EXPECT_EQ(Ask<std::wstring>(&_clsXDeltaEncoder::get_ReferencePath, settings), temp / L"some.AXR");
    settings->put_ReferencePath(In(temp / L"none.AXR"));
    EXPECT_EQ(Ask<std::wstring>(&_clsXDeltaEncoder::get_ReferencePath, settings), L"");
    settings->put_ReferencePath(In(L""));
    EXPECT_FALSE(Encode(L"x.mdb"));
    Configure({{L"REFERENCE_PATH", temp / L"refs"}});
    EXPECT_FALSE(Decode(L"x.mdb~Base1"));
    EXPECT_THAT(
        framework.TakeLog(),
        ElementsAre(Reported(kDelta + L"ReferenceFolder", L"Reference file T:\\none.AXR does not exist"),
                    reported(L"The reference file  does not exist."),
                    reported(L"The XDeltaRegPath registry key is set to a folder.")));
}

TEST_F(DeltaEncoder, NeedsTheReferenceThatTheNameTells) {
    for (const wchar_t* name : {L"a~b.mdb~Other", L"plain"})
        temp.File(L"in\\" + (name + std::wstring(L".axd")));
    for (const wchar_t* name : {L"a~b.mdb~Other", L"missing~Base1", L"plain"})
        EXPECT_FALSE(Decode(name));
    const auto reported = [](const std::wstring& text) {
        return Reported(kDelta + L"IZNEncoder_Decode", text);
    };
    EXPECT_THAT(
        framework.TakeLog(),
        ElementsAre(reported(L"Xdelta reference file T:\\refs\\Other.AXR for encoded file a~b.mdb~Other "
                             L"does not exist."),
                    reported(L"Encoded file T:\\in\\missing~Base1.axd does not exist."),
                    reported(L"Xdelta reference file T:\\refs\\plain.AXR for encoded file plain does "
                             L"not exist.")));
}

}  // namespace
}  // namespace tests
