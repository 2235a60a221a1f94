// The encoders over programs that do as the test arranges: command lines, settings, results and texts.
#include <gmock/gmock.h>

#include "base/Utf8.h"
#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"
#include "tests/win/support/ChildPrograms.h"
#include "tests/win/support/Library.h"

using base::ToUtf8;
using com::Bstr;
using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

template <class Class, class DefaultInterface>
class EncoderTest : public LibraryTest {
protected:
    EncoderTest() {
        framework.resources[140] = L"Zip";
        framework.resources[110] = L"Difference";
        temp.Folder(L"in");
        temp.Folder(L"out");
    }

    void Create() {
        encoder = LibraryTest::Create<Class, IZNEncoder>();
        encoder.As(&encoder2);
        encoder.As(&settings);
    }
    HRESULT Configure(const std::vector<std::pair<std::wstring, std::wstring>>& values) {
        return encoder2->putref_PropSet(Properties(values).Get());
    }
    std::wstring Configuration() {
        ComPtr<IZNPropertySet> set;
        EXPECT_EQ(encoder2->get_PropSet(&set), S_OK);
        return PropertiesAsText(set.Get());
    }
    bool Encode(const wchar_t* name) {
        VARIANT_BOOL done = VARIANT_FALSE;
        EXPECT_EQ(encoder2->Encode(Bstr(temp / L"in").Get(), Bstr(temp / L"out").Get(), Bstr(name).Get(),
                                   outFile.Put(), &done),
                  S_OK);
        return done;
    }
    bool Decode(const wchar_t* name) {
        VARIANT_BOOL done = VARIANT_FALSE;
        EXPECT_EQ(encoder->Decode(Bstr(temp / L"in").Get(), Bstr(temp / L"out").Get(), Bstr(name).Get(),
                                  outFile.Put(), &done),
                  S_OK);
        return done;
    }
    std::wstring Log(size_t i) const { return framework.log.at(i).text; }
    /// Name and category, as the administration tool asks for them.
    std::wstring Administration() {
        ComPtr<IZNMobileAdminProperties> administration;
        ComPtr<IZNRegInCat> registration;
        encoder.As(&administration);
        encoder.As(&registration);
        com::Variant categories;
        registration->get_CategoriesToReg(categories.Put());
        ComPtr<_Collection> collection;
        com::Check(categories.Get().punkVal->QueryInterface(IID_PPV_ARGS(&collection)));
        EXPECT_FALSE(com::Get<bool>(&IZNMobileAdminProperties::get_HasProperties, administration.Get()));
        return com::Get<std::wstring>(&IZNMobileAdminProperties::get_Name, administration.Get()) + L" in " +
               com::Get<com::Variant>(&_Collection::get_Item, collection.Get(), LONG{1}).Text();
    }

    TempFolder temp;
    ChildPrograms children{temp};
    ComPtr<IZNEncoder> encoder;
    ComPtr<IZNEncoder2> encoder2;
    ComPtr<DefaultInterface> settings;
    Bstr outFile;
};

// --- Zip --------------------------------------------------------------------------------------------

class ZipEncoder : public EncoderTest<clsZipEncoder, _clsZipEncoder> {
protected:
    ZipEncoder() {
        framework.registry[L"1//ZNBinDir"] = children.Folder();
        GetEnvironmentVariableW(L"TEMP", m_previousTemp, MAX_PATH);
        SetEnvironmentVariableW(L"TEMP", temp.Folder(L"work").c_str());
        children.Install(L"Zip.exe");
        children.Install(L"Unzip.exe");
        Create();
    }
    ~ZipEncoder() override { SetEnvironmentVariableW(L"TEMP", m_previousTemp); }

    void ZipWrites(const std::wstring& name, const wchar_t* text = L"zipped") {
        ChildPrograms::Script(L"write " + temp / (L"work\\" + name) + L"*" + text);
    }

    wchar_t m_previousTemp[MAX_PATH] = L"";
};

TEST_F(ZipEncoder, TakesDefaultsFromTheRegistryAndSettingsFromTheSet) {
    EXPECT_EQ(Configuration(), L"COMPRESSION_LEVEL=0\nIN_EXTENSION=.mdb\nOUT_EXTENSION=.afz\nTIMEOUT=60\n"
                               L"ZIP_UTIL_LOCATION=" +
                                   children.Folder() + L"\n");
    framework.registry[L"13/Transport/ZipTimeout"] = L"7";
    Create();
    EXPECT_EQ(com::Get<LONG>(&_clsZipEncoder::get_ZipTimeout, settings.Get()), 7);
    EXPECT_EQ(Configure({{L"COMPRESSION_LEVEL", L"9"},
                         {L"IN_EXTENSION", L".xml"},
                         {L"OUT_EXTENSION", L".xz"},
                         {L"ZIP_UTIL_LOCATION", L"Z:\\bin"}}),
              S_OK);
    EXPECT_EQ(Configuration(), L"COMPRESSION_LEVEL=9\nIN_EXTENSION=.xml\nOUT_EXTENSION=.xz\nTIMEOUT=7\n"
                               L"ZIP_UTIL_LOCATION=Z:\\bin\n");
    EXPECT_EQ(Configure({{L"TIMEOUT", L"soon"}}), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(Administration(), L"Zip in {category 134}");
}

TEST_F(ZipEncoder, EncodesThroughTheWorkFile) {
    temp.File(L"work\\a b.mdb.afz", "left by an earlier failure");
    ZipWrites(L"a b.mdb.afz");
    EXPECT_TRUE(Encode(L"a b.mdb"));
    EXPECT_EQ(outFile.Text(), temp / L"out\\a b.mdb.afz");
    EXPECT_EQ(temp.Content(L"out\\a b.mdb.afz"), "zipped");
    EXPECT_THAT(temp.Files(L"work"), IsEmpty());
    EXPECT_EQ(children.CommandLine(),
              ToUtf8(children.Folder() + L"\\Zip.exe -jo \"" + temp / L"work\\a b.mdb.afz" + L"\" \"" +
                     temp / L"in\\a b.mdb" + L"\""));
    EXPECT_THAT(framework.log, IsEmpty());
}

TEST_F(ZipEncoder, PassesOnlyLevelsThatExist) {
    const std::pair<LONG, const char*> levels[] = {
        {1, " -1 -jo "}, {9, " -9 -jo "}, {0, "Zip.exe -jo "}, {10, "Zip.exe -jo "}, {-1, "Zip.exe -jo "}};
    for (const auto& [level, expected] : levels) {
        settings->put_CompressionLevel(level);
        ZipWrites(L"x" + std::to_wstring(level) + L".mdb.afz");
        EXPECT_TRUE(Encode((L"x" + std::to_wstring(level) + L".mdb").c_str()));
        EXPECT_THAT(children.CommandLine(), HasSubstr(expected));
    }
}

TEST_F(ZipEncoder, AnExistingTargetKeepsBothFiles) {
    temp.File(L"out\\x.mdb.afz", "waiting");
    ZipWrites(L"x.mdb.afz");
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_EQ(temp.Content(L"out\\x.mdb.afz"), "waiting");
    EXPECT_EQ(temp.Content(L"work\\x.mdb.afz"), "zipped");
    EXPECT_THAT(Log(0), HasSubstr(L"clsZipEncoder.cls.IZNEncoder_Encode\r\n"));
}

TEST_F(ZipEncoder, AZipProgramBeyondItsTimeRunsOn) {
    settings->put_ZipTimeout(0);
    ChildPrograms::Script(L"sleep 600|write " + temp / L"work\\x.mdb.afz" + L"*late");
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_THAT(Log(0), EndsWith(L"clsZipEncoder.cls.IZNEncoder_Encode\r\nZip program timed out for " +
                                 temp / L"in\\x.mdb"));
    for (int i = 0; i < 50 && !temp.Exists(L"work\\x.mdb.afz"); ++i)
        Sleep(100);
    EXPECT_TRUE(temp.Exists(L"work\\x.mdb.afz"));
}

TEST_F(ZipEncoder, AWorkFileThatComesLateFailsTheEncoding) {
    // The program's end is not its file's: a second process writes that.
    const std::wstring late = temp / L"work\\x.mdb.afz";
    std::wstring command = L"cmd /c ping -n 2 127.0.0.1 >nul & echo late>\"" + late + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &process));
    EXPECT_FALSE(Encode(L"x.mdb"));
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    ASSERT_EQ(framework.log.size(), 2u);
    EXPECT_THAT(Log(0), HasSubstr(L"Unknown Source::\r\nclsZipEncoder.cls.IZNEncoder_Encode\r\nIt took "));
    EXPECT_THAT(Log(0), HasSubstr(L" seconds waiting for the zip output file " + late +
                                  L" to be written., gk_sToolName, False, ZN_EVENTLOG_WARNING_TYPE"));
    EXPECT_THAT(Log(1), HasSubstr(L"IZNEncoder_Encode\r\nInvalid procedure call or argument"));
}

TEST_F(ZipEncoder, AMissingProgramIsReportedOnce) {
    settings->put_ZipUtilLocation(Bstr(temp / L"nowhere").Get());
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_FALSE(Decode(L"x.mdb"));
    ASSERT_EQ(framework.log.size(), 1u);
    EXPECT_THAT(Log(0), EndsWith(L"clsZipEncoder.cls.ProgramExists\r\nprogram " + temp / L"nowhere\\Zip.exe" +
                                 L" does not exist"));
}

TEST_F(ZipEncoder, DecodesIntoTheDestination) {
    temp.File(L"out\\x~1.mdb", "previous");
    ChildPrograms::Script(L"write " + temp / L"out\\x~1.mdb" + L"*unzipped");
    EXPECT_TRUE(Decode(L"x~1.mdb"));
    EXPECT_EQ(outFile.Text(), temp / L"out\\x~1.mdb");
    EXPECT_EQ(temp.Content(L"out\\x~1.mdb"), "unzipped");
    EXPECT_EQ(children.CommandLine(),
              ToUtf8(children.Folder() + L"\\Unzip.exe -oj \"" + temp / L"in\\x~1.mdb.afz" + L"\" -d \"" +
                     temp / L"out" + L"\""));
}

// --- Binary difference ------------------------------------------------------------------------------

class DeltaEncoder : public EncoderTest<clsXDeltaEncoder, _clsXDeltaEncoder> {
protected:
    DeltaEncoder() {
        children.Install(L"xDelta.exe");
        reference = temp.File(L"refs\\Base1.AXR", "reference");
        Create();
        encoder2->put_ApplicationName(Bstr(L"App").Get());
        Configure({{L"REFERENCE_PATH", reference}, {L"XDELTA_UTIL_LOCATION", children.Folder()}});
    }
    void DeltaWrites(const std::wstring& path) { ChildPrograms::Script(L"write " + temp / path + L"*delta"); }
    std::string Command(const std::wstring& arguments) const {
        return ToUtf8(children.Folder() + L"\\xDelta.exe " + arguments);
    }

    std::wstring reference;
};

TEST_F(DeltaEncoder, TakesDefaultsFromRegistryAndFolderLocator) {
    framework.registry[L"13/Transport/XDeltaTimeout"] = L"8";
    framework.registry[L"1//ZNBinDir"] = children.Folder();
    framework.folders = {{L"F/XDeltaRefPath", L"F:\\field.AXR"}, {L"E/XDeltaRefPath", L"E:\\enterprise.AXR"}};
    Create();
    EXPECT_EQ(com::Get<LONG>(&_clsXDeltaEncoder::get_Timeout, settings.Get()), 8);
    encoder2->put_ApplicationName(Bstr(L"App").Get());
    EXPECT_EQ(Configure({{L"MOBILE", L"true"}, {L"TIMEOUT", L"5"}}), S_OK);
    EXPECT_EQ(Configuration(),
              L"IN_EXTENSION=.mdb\nOUT_EXTENSION=.axd\nREFERENCE_PATH=F:\\field.AXR\nTIMEOUT=5\n"
              L"XDELTA_UTIL_LOCATION=" +
                  children.Folder() + L"\\\n");
    EXPECT_EQ(Configure({{L"TIMEOUT", L"5"}}), S_OK);
    EXPECT_THAT(Configuration(), HasSubstr(L"REFERENCE_PATH=E:\\enterprise.AXR"));
    EXPECT_EQ(Administration(), L"Difference in {category 134}");
    EXPECT_THAT(framework.log, IsEmpty());
}

TEST_F(DeltaEncoder, AMissingProgramRaisesFromTheSettings) {
    constexpr auto kInvalidCall = static_cast<HRESULT>(0x800A0005);
    EXPECT_EQ(Configure({{L"REFERENCE_PATH", reference}, {L"XDELTA_UTIL_LOCATION", temp / L"nowhere"}}),
              kInvalidCall);
    EXPECT_THAT(Log(0), EndsWith(L"clsXDeltaEncoder.cls.XDeltaUtilLocation\r\nprogram " + temp / L"nowhere" +
                                 L"\\xDelta.exe does not exist"));
    EXPECT_EQ(settings->put_XDeltaUtilLocation(Bstr(temp / L"nowhere\\").Get()), kInvalidCall);
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_THAT(framework.log.back().text, HasSubstr(L"clsXDeltaEncoder.cls.ValidRegistryKeys\r\n"
                                                     L"The xDelta location has not been set up properly."));
    for (const std::wstring& folder : {children.Folder(), children.Folder() + L"\\"}) {
        EXPECT_EQ(settings->put_XDeltaUtilLocation(Bstr(folder).Get()), S_OK);
        EXPECT_EQ(com::Get<std::wstring>(&_clsXDeltaEncoder::get_XDeltaUtilLocation, settings.Get()),
                  children.Folder() + L"\\");
    }
}

TEST_F(DeltaEncoder, SettingsThatCannotBeReadAreReportedAndNotTaken) {
    EXPECT_EQ(
        Configure({{L"TIMEOUT", L"soon"}, {L"REFERENCE_PATH", L"none"}, {L"XDELTA_UTIL_LOCATION", L""}}),
        S_OK);
    EXPECT_THAT(Log(0), HasSubstr(L"clsXDeltaEncoder.cls.IZNEncoder2_PropSet\r\n"));
    EXPECT_THAT(Log(0), HasSubstr(L"TIMEOUT = soon"));
    EXPECT_THAT(Configuration(), HasSubstr(L"REFERENCE_PATH=" + reference));
    EXPECT_THAT(Configuration(), HasSubstr(L"XDELTA_UTIL_LOCATION=" + children.Folder()));
}

TEST_F(DeltaEncoder, TheTimeoutComesFromTheKeyThatIsOpen) {
    framework.registry[L"13/Transport/XDeltaTimeout"] = L"8";
    framework.registry[L"1//XDeltaTimeout"] = L"9";
    Create();
    EXPECT_EQ(com::Get<LONG>(&_clsXDeltaEncoder::get_Timeout, settings.Get()), 8);
    EXPECT_EQ(Configure({{L"XDELTA_UTIL_LOCATION", L""}}), S_OK);
    EXPECT_THAT(Configuration(), HasSubstr(L"TIMEOUT=9\n"));
}

TEST_F(DeltaEncoder, EncodesBesideTheReferencesName) {
    DeltaWrites(L"out\\a b.mdb~Base1.axd");
    EXPECT_TRUE(Encode(L"a b.mdb"));
    EXPECT_EQ(outFile.Text(), temp / L"out\\a b.mdb~Base1.axd");
    EXPECT_EQ(children.CommandLine(), Command(L"delta \"" + reference + L"\" \"" + temp / L"in\\a b.mdb" +
                                              L"\" \"" + temp / L"out\\a b.mdb~Base1.axd" + L"\""));
    EXPECT_TRUE(Encode(L"a b.mdb")) << "again";
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"a b.mdb~Base1.axd", L"a b.mdb~Base1.axd_bck"));
    EXPECT_THAT(framework.log, IsEmpty());
    EXPECT_FALSE(Encode(L"a b.mdb")) << "the backup that stayed is in the way";
    EXPECT_THAT(Log(0), HasSubstr(L"clsXDeltaEncoder.cls.IZNEncoder_Encode\r\n"));
}

TEST_F(DeltaEncoder, AFailedDeltaBringsThePreviousFileBack) {
    temp.File(L"out\\x.mdb~Base1.axd", "previous");
    ChildPrograms::Script(L"exit 1");
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_THAT(Log(0), EndsWith(L"\"\r\nfailed to create an output file"));
    EXPECT_THAT(Log(0),
                HasSubstr(L"clsXDeltaEncoder.cls.IZNEncoder_Encode\r\nCommand: " + children.Folder()));
    settings->put_Timeout(0);
    ChildPrograms::Script(L"write " + temp / L"out\\x.mdb~Base1.axd" + L"*half|sleep 5000");
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_THAT(framework.log.back().text, EndsWith(L"\"\r\nCommand timed out"));
    EXPECT_EQ(temp.Content(L"out\\x.mdb~Base1.axd"), "previous");
    EXPECT_THAT(temp.Files(L"out"), ElementsAre(L"x.mdb~Base1.axd"));
}

TEST_F(DeltaEncoder, NeedsItsReferenceFile) {
    const std::wstring advice =
        L"\r\nRun the Tulrec application which will set the registry key to the correct "
        L"xDelta reference file.";
    settings->put_ReferencePath(Bstr(temp / L"none.AXR").Get());
    EXPECT_THAT(Log(0), EndsWith(L"clsXDeltaEncoder.cls.ReferenceFolder\r\nReference file " +
                                 temp / L"none.AXR" + L" does not exist"));
    EXPECT_EQ(com::Get<std::wstring>(&_clsXDeltaEncoder::get_ReferencePath, settings.Get()), L"");
    EXPECT_FALSE(Encode(L"x.mdb"));
    EXPECT_THAT(Log(1), EndsWith(L"ValidRegistryKeys\r\nThe reference file  does not exist." + advice));
    Configure({{L"REFERENCE_PATH", temp / L"refs"}, {L"XDELTA_UTIL_LOCATION", children.Folder()}});
    EXPECT_FALSE(Decode(L"x.mdb~Base1"));
    EXPECT_THAT(Log(2), EndsWith(L"The XDeltaRegPath registry key is set to a folder." + advice));
}

TEST_F(DeltaEncoder, DecodesWithTheReferenceThatTheNameTells) {
    temp.File(L"in\\a~b.mdb~Other.axd");
    EXPECT_FALSE(Decode(L"a~b.mdb~Other"));
    EXPECT_THAT(Log(0), EndsWith(L"IZNEncoder_Decode\r\nXdelta reference file " + temp / L"refs\\Other.AXR" +
                                 L" for encoded file a~b.mdb~Other does not exist."));
    EXPECT_FALSE(Decode(L"missing~Base1"));
    EXPECT_THAT(Log(1), EndsWith(L"Encoded file " + temp / L"in\\missing~Base1.axd" + L" does not exist."));
    temp.File(L"refs\\Other.AXR");
    DeltaWrites(L"out\\a~b.mdb");
    EXPECT_TRUE(Decode(L"a~b.mdb~Other"));
    EXPECT_EQ(outFile.Text(), temp / L"out\\a~b.mdb");
    EXPECT_EQ(children.CommandLine(),
              Command(L"patch \"" + temp / L"in\\a~b.mdb~Other.axd" + L"\" \"" + temp / L"refs\\Other.AXR" +
                      L"\" \"" + temp / L"out\\a~b.mdb" + L"\""));
    temp.File(L"in\\plain.axd");
    EXPECT_FALSE(Decode(L"plain"));
    EXPECT_THAT(framework.log.back().text, HasSubstr(temp / L"refs\\plain.AXR")) << "a name without a tilde";
}

}  // namespace
}  // namespace tests
