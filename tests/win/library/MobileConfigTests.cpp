// Mobile configuration: its tables in every mode, enumeration, overrides and failures.
#include "tests/win/support/Library.h"

namespace tests {
namespace {

enum Side : VARIANT_BOOL { kEnterprise = VARIANT_TRUE, kField = VARIANT_FALSE };

class MobileConfig : public LibraryTest {
protected:
    HRESULT Open(const wchar_t* application) { return config->put_ApplicationName(In(application)); }
    std::wstring Value(Side side, const std::wstring& name) {
        return Ask<std::wstring>(&IZNMobileConfig::GetConfig, config, side, name);
    }
    std::wstring NextName(Side side) {
        return Ask<std::wstring>(&IZNMobileConfig::NextConfigName, config, side);
    }
    void Set(Side side, const wchar_t* name, const wchar_t* value) {
        EXPECT_EQ(config->SetConfig(side, In(name), In(value)), S_OK);
    }
    /// A whole table in its order, one "name=value" a line.
    std::wstring Table(Side side) {
        EXPECT_EQ(config->ResetConfigNames(side), S_OK);
        std::wstring table;
        for (std::wstring name = NextName(side); !name.empty(); name = NextName(side))
            table += name + L"=" + Value(side, name) + L"\n";
        return table;
    }

    ComPtr<IZNMobileConfig> config = Create<clsTranMobileConfig, IZNMobileConfig>();
};

TEST_F(MobileConfig, AnEmptyRegistryGivesDefaults) {
    ASSERT_EQ(Open(L"Designer"), S_OK);
    const std::wstring defaults = L"MobileConfigValue=0\nHome=\nWorkingDir=\nIncoming=\nOutgoing=\n"
                                  L"XDeltaRefPath=\nFTPEnterpriseToField=EnterpriseToField\n"
                                  L"FTPFieldToEnterprise=FieldToEnterprise\nFTPServer=\nFTPUser=\n"
                                  L"FTPPassword=\n";
    EXPECT_EQ(Table(kEnterprise), defaults);
    EXPECT_EQ(Table(kField), defaults);
    EXPECT_EQ(framework.defaults.at(L"13//MobileConfigValue"), VT_I2);
}

TEST_F(MobileConfig, EachModeBuildsBothTables) {
    const std::wstring password(L"\xD800\0x", 3);  // enciphered, it is any sequence of characters
    framework.registry = {{L"13//EnterpriseHome", L"D:\\Ent"},
                          {L"13//FieldHome", L"C:\\"},  // keeps its separator
                          {L"13/VtMobile/EnterpriseWorkingDir", L"work E"},
                          {L"13/VtMobile/FieldWorkingDir", L"work F"},
                          {L"13/Transport/EnterpriseIncoming", L"in E"},
                          {L"13/Transport/FieldIncoming", L"in F"},
                          {L"13/Transport/EnterpriseOutgoing", L"out E"},
                          {L"13/Transport/FieldOutgoing", L"out F"},
                          {L"13/Transport/XDeltaRegPath", L"reference"},
                          {L"13/Transport\\Designer/XDeltaReference", L"base.mdb"},
                          {L"13/Transport/FTPEnterpriseToField", L"Out"},
                          {L"13/Transport/FTPFieldToEnterprise", L"In"},
                          {L"13/Transport/FTPServer", L"ftp.example"},
                          {L"13/Transport/FTPUser", L"me"},
                          {L"13/Transport/FTPPassword", password}};
    const auto table = [&](const std::wstring& mode, const std::wstring& home, const std::wstring& work,
                           const std::wstring& in, const std::wstring& out, const std::wstring& reference) {
        return L"MobileConfigValue=" + mode + L"\nHome=" + home + L"\nWorkingDir=" + work + L"\nIncoming=" +
               in + L"\nOutgoing=" + out + L"\nXDeltaRefPath=" + reference +
               L"\nFTPEnterpriseToField=Out\nFTPFieldToEnterprise=In\nFTPServer=ftp.example\nFTPUser=me\n"
               L"FTPPassword=" +
               password + L"\n";
    };
    const auto below = [&](const wchar_t* mode, const std::wstring& home, const std::wstring& reference) {
        return table(mode, home, home + L"\\WorkingDir", home + L"\\Transport\\Incoming",
                     home + L"\\Transport\\Outgoing",
                     reference + L"\\Transport\\Designer\\XDeltaReferenceFiles\\base.mdb");
    };
    const auto expectMode = [&](const wchar_t* stored, const std::wstring& enterprise,
                                const std::wstring& field) {
        framework.registry[L"13//MobileConfigValue"] = stored;
        ASSERT_EQ(Open(L"Designer"), S_OK);
        EXPECT_EQ(Table(kEnterprise), enterprise);
        EXPECT_EQ(Table(kField), field);
    };
    expectMode(L"0", table(L"0", L"D:\\Ent", L"work E", L"in E", L"out E", L"reference"),
               table(L"0", L"C:\\", L"work F", L"in F", L"out F", L"reference"));
    expectMode(L"1", below(L"1", L"D:\\Ent", L"D:\\Ent"), below(L"1", L"C:\\", L"C:\\"));
    expectMode(L"6", below(L"2", L"D:\\Ent", L"C:\\"), below(L"2", L"C:\\", L"C:\\"));
    expectMode(L"-1", below(L"3", L"D:\\Ent", L"C:\\"), below(L"3", L"C:\\", L"C:\\"));
}

TEST_F(MobileConfig, AnOverrideMovesItsNameToTheEnd) {
    framework.registry = {{L"13//MobileConfigValue", L"1"}, {L"13//FieldHome", L"C:\\F"}};
    const auto stored = framework.registry;
    ASSERT_EQ(Open(L"Designer"), S_OK);
    const std::wstring enterprise = Table(kEnterprise);
    Set(kField, L"HOME", L"E:\\New");
    Set(kField, L"Other", L"added");
    EXPECT_THAT(Table(kField), AllOf(StartsWith(L"MobileConfigValue=1\nWorkingDir=C:\\F\\WorkingDir\n"),
                                     EndsWith(L"FTPPassword=\nHOME=E:\\New\nOther=added\n")));
    EXPECT_EQ(Value(kField, L"home"), L"E:\\New") << "in any letter case";
    EXPECT_EQ(Value(kField, L"Homes"), L"");
    EXPECT_EQ(Table(kEnterprise), enterprise);
    EXPECT_EQ(framework.registry, stored);
}

TEST_F(MobileConfig, AnotherApplicationBuildsAnewButGoesOnEnumerating) {
    Set(kEnterprise, L"Home", L"too early");
    EXPECT_EQ(Table(kEnterprise), L"");
    EXPECT_EQ(Value(kEnterprise, L"Home"), L"");
    Open(L"Designer");
    Set(kEnterprise, L"Home", L"overridden");
    EXPECT_EQ(NextName(kEnterprise), L"MobileConfigValue");
    EXPECT_EQ(NextName(kEnterprise), L"WorkingDir");
    Open(L"Viewer");
    EXPECT_EQ(Ask<std::wstring>(&IZNMobileConfig::get_ApplicationName, config), L"Viewer");
    EXPECT_EQ(Value(kEnterprise, L"Home"), L"");
    EXPECT_EQ(NextName(kEnterprise), L"WorkingDir");
    EXPECT_EQ(NextName(kField), L"MobileConfigValue") << "each side has its own position";
    config->ResetConfigNames(kField);
    EXPECT_EQ(NextName(kField), L"MobileConfigValue");
    EXPECT_EQ(NextName(kEnterprise), L"Incoming");
}

TEST_F(MobileConfig, FailuresAreRaisedAndLeaveWhatWasRead) {
    framework.registry = {{L"13/Transport/EnterpriseIncoming", L"in E"}};
    framework.unreadable = L"13/Transport/FieldIncoming";
    const HRESULT denied = Open(L"Designer");
    EXPECT_EQ(denied, HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    EXPECT_THAT(WhyFailed(denied), HasSubstr(framework.unreadable));
    EXPECT_EQ(Table(kEnterprise), L"MobileConfigValue=0\nHome=\nWorkingDir=\nIncoming=in E\n");
    EXPECT_EQ(Table(kField), L"MobileConfigValue=0\nHome=\nWorkingDir=\n");

    framework.unreadable.clear();
    framework.registry[L"13//MobileConfigValue"] = L"many";
    EXPECT_EQ(Open(L"Designer"), DISP_E_TYPEMISMATCH);
    framework.Remove(__uuidof(ZNRegistry));
    EXPECT_EQ(Open(L"Designer"), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(Table(kField), L"") << "the tables of the application before are gone";
    EXPECT_EQ(framework.TakeLogText(), L"") << "who is told by an error needs no report";
}

}  // namespace
}  // namespace tests
