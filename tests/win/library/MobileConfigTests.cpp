// Mobile configuration: its tables in every mode, enumeration, overrides and failures.
#include <gmock/gmock.h>

#include "base/Error.h"
#include "base/Utf8.h"
#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"
#include "tests/win/support/ActivationContext.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/ScratchHives.h"

using com::Bstr;
using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::HasSubstr;

enum Side : VARIANT_BOOL { kEnterprise = VARIANT_TRUE, kField = VARIANT_FALSE };

/// A configuration object with its results as C++ values.
class Config {
public:
    explicit Config(ComPtr<IZNMobileConfig> config) : m_config(std::move(config)) {}

    HRESULT Open(const wchar_t* application) {
        return m_config->put_ApplicationName(Bstr(application).Get());
    }
    std::wstring Value(Side side, const std::wstring& name) {
        return com::Get<std::wstring>(&IZNMobileConfig::GetConfig, m_config.Get(), side, Bstr(name).Get());
    }
    std::wstring NextName(Side side) {
        return com::Get<std::wstring>(&IZNMobileConfig::NextConfigName, m_config.Get(), side);
    }
    void Set(Side side, const wchar_t* name, const wchar_t* value) {
        EXPECT_EQ(m_config->SetConfig(side, Bstr(name).Get(), Bstr(value).Get()), S_OK);
    }
    void Reset(Side side) { EXPECT_EQ(m_config->ResetConfigNames(side), S_OK); }
    /// A whole table in its order, one "name=value" a line.
    std::wstring Table(Side side) {
        Reset(side);
        std::wstring table;
        for (std::wstring name = NextName(side); !name.empty(); name = NextName(side))
            table += name + L"=" + Value(side, name) + L"\n";
        return table;
    }
    IZNMobileConfig* operator->() const { return m_config.Get(); }

private:
    ComPtr<IZNMobileConfig> m_config;
};

class MobileConfig : public LibraryTest {
protected:
    MobileConfig() : config(Create<clsTranMobileConfig, IZNMobileConfig>()) {}

    Config config;
};

TEST_F(MobileConfig, AnEmptyRegistryGivesDefaults) {
    ASSERT_EQ(config.Open(L"Designer"), S_OK);
    const std::wstring defaults = L"MobileConfigValue=0\nHome=\nWorkingDir=\nIncoming=\nOutgoing=\n"
                                  L"XDeltaRefPath=\nFTPEnterpriseToField=EnterpriseToField\n"
                                  L"FTPFieldToEnterprise=FieldToEnterprise\nFTPServer=\nFTPUser=\n"
                                  L"FTPPassword=\n";
    EXPECT_EQ(config.Table(kEnterprise), defaults);
    EXPECT_EQ(config.Table(kField), defaults);
    EXPECT_EQ(framework.defaults.at(L"13//MobileConfigValue"), VT_I2);
}

struct Mode {
    const wchar_t* stored;
    const wchar_t* mode;
    /// From WorkingDir to XDeltaRefPath, one a line.
    std::vector<const wchar_t*> enterprise;
    std::vector<const wchar_t*> field;
};

class Modes : public MobileConfig, public testing::WithParamInterface<Mode> {};

TEST_P(Modes, BuildBothTables) {
    // A home that ends in a separator keeps it.
    framework.registry = {{L"13//MobileConfigValue", GetParam().stored},
                          {L"13//EnterpriseHome", L"D:\\Ent"},
                          {L"13//FieldHome", L"C:\\"},
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
                          {L"13/Transport/FTPPassword", L"0A1B"}};
    ASSERT_EQ(config.Open(L"Designer"), S_OK);
    const auto expected = [](const wchar_t* home, const std::vector<const wchar_t*>& paths) {
        std::wstring table =
            std::wstring(L"MobileConfigValue=") + GetParam().mode + L"\nHome=" + home + L"\n";
        const wchar_t* const names[] = {L"WorkingDir", L"Incoming", L"Outgoing", L"XDeltaRefPath"};
        for (size_t i = 0; i < 4; ++i)
            table += std::wstring(names[i]) + L"=" + paths.at(i) + L"\n";
        return table + L"FTPEnterpriseToField=Out\nFTPFieldToEnterprise=In\nFTPServer=ftp.example\n"
                       L"FTPUser=me\nFTPPassword=0A1B\n";
    };
    EXPECT_EQ(config.Table(kEnterprise), expected(L"D:\\Ent", GetParam().enterprise));
    EXPECT_EQ(config.Table(kField), expected(L"C:\\", GetParam().field));
}

const std::vector<const wchar_t*> kBelowFieldHome = {
    L"C:\\\\WorkingDir", L"C:\\\\Transport\\Incoming", L"C:\\\\Transport\\Outgoing",
    L"C:\\\\Transport\\Designer\\XDeltaReferenceFiles\\base.mdb"};
const std::vector<const wchar_t*> kSharedReference = {L"D:\\Ent\\WorkingDir", L"D:\\Ent\\Transport\\Incoming",
                                                      L"D:\\Ent\\Transport\\Outgoing", kBelowFieldHome[3]};
const Mode kModes[] = {
    {L"0", L"0", {L"work E", L"in E", L"out E", L"reference"}, {L"work F", L"in F", L"out F", L"reference"}},
    {L"1",
     L"1",
     {kSharedReference[0], kSharedReference[1], kSharedReference[2],
      L"D:\\Ent\\Transport\\Designer\\XDeltaReferenceFiles\\base.mdb"},
     kBelowFieldHome},
    {L"6", L"2", kSharedReference, kBelowFieldHome},
    {L"-1", L"3", kSharedReference, kBelowFieldHome},
};
INSTANTIATE_TEST_SUITE_P(Configured, Modes, testing::ValuesIn(kModes),
                         [](const auto& mode) { return "Mode" + base::ToUtf8(mode.param.mode); });

TEST_F(MobileConfig, AnOverrideMovesItsNameToTheEnd) {
    framework.registry = {{L"13//MobileConfigValue", L"1"}, {L"13//FieldHome", L"C:\\F"}};
    const auto stored = framework.registry;
    ASSERT_EQ(config.Open(L"Designer"), S_OK);
    const std::wstring enterprise = config.Table(kEnterprise);
    config.Set(kField, L"HOME", L"E:\\New");
    config.Set(kField, L"Other", L"added");
    const std::wstring field = config.Table(kField);
    EXPECT_THAT(field, testing::StartsWith(L"MobileConfigValue=1\nWorkingDir=C:\\F\\WorkingDir\n"));
    EXPECT_THAT(field, testing::EndsWith(L"FTPPassword=\nHOME=E:\\New\nOther=added\n"));
    EXPECT_EQ(config.Value(kField, L"home"), L"E:\\New") << "in any letter case";
    EXPECT_EQ(config.Value(kField, L"Homes"), L"");
    EXPECT_EQ(config.Table(kEnterprise), enterprise);
    EXPECT_EQ(framework.registry, stored);
}

TEST_F(MobileConfig, AnotherApplicationBuildsAnewButGoesOnEnumerating) {
    EXPECT_EQ(com::Get<std::wstring>(&IZNMobileConfig::get_ApplicationName, config.operator->()), L"");
    config.Open(L"Designer");
    config.Set(kEnterprise, L"Home", L"overridden");
    EXPECT_EQ(config.NextName(kEnterprise), L"MobileConfigValue");
    EXPECT_EQ(config.NextName(kEnterprise), L"WorkingDir");
    config.Open(L"Viewer");
    EXPECT_EQ(com::Get<std::wstring>(&IZNMobileConfig::get_ApplicationName, config.operator->()), L"Viewer");
    EXPECT_EQ(config.Value(kEnterprise, L"Home"), L"");
    EXPECT_EQ(config.NextName(kEnterprise), L"WorkingDir");
    EXPECT_EQ(config.NextName(kField), L"MobileConfigValue") << "each side has its own position";
    config.Reset(kField);
    EXPECT_EQ(config.NextName(kField), L"MobileConfigValue");
    EXPECT_EQ(config.NextName(kEnterprise), L"Incoming");
}

TEST_F(MobileConfig, NothingIsThereBeforeAnApplicationIsNamed) {
    config.Set(kEnterprise, L"Home", L"too early");
    EXPECT_EQ(config.Table(kEnterprise), L"");
    EXPECT_EQ(config.Value(kEnterprise, L"Home"), L"");
    EXPECT_EQ(config->GetConfig(kField, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(config->NextConfigName(kField, nullptr), E_POINTER);
}

TEST_F(MobileConfig, FailuresAreRaisedAndLeaveWhatWasRead) {
    framework.registry = {{L"13/Transport/EnterpriseIncoming", L"in E"}};
    framework.unreadable = L"13/Transport/FieldIncoming";
    const HRESULT denied = config.Open(L"Designer");
    ASSERT_EQ(denied, HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    try {
        com::Check(denied);
    } catch (const base::Error& error) {
        EXPECT_THAT(error.failure().description, HasSubstr(framework.unreadable));
    }
    EXPECT_EQ(config.Table(kEnterprise), L"MobileConfigValue=0\nHome=\nWorkingDir=\nIncoming=in E\n");
    EXPECT_EQ(config.Table(kField), L"MobileConfigValue=0\nHome=\nWorkingDir=\n");

    framework.unreadable.clear();
    framework.registry[L"13//MobileConfigValue"] = L"many";
    EXPECT_EQ(config.Open(L"Designer"), DISP_E_TYPEMISMATCH);
    framework.Remove(__uuidof(ZNRegistry));
    EXPECT_EQ(config.Open(L"Designer"), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(config.Table(kField), L"") << "the tables of the application before are gone";
    EXPECT_EQ(framework.LogText(), L"") << "who is told by an error needs no report";
}

/// The registry object of the reference framework, on hives of its own.
class MobileConfigInRegistry : public DllTest {
protected:
    MobileConfigInRegistry() : DllTest(L"znTransporter.dll") {}

    static void Store(const wchar_t* key, const wchar_t* name, const std::wstring& text) {
        const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
        EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_SZ, text.c_str(), size), ERROR_SUCCESS);
    }

    ScratchHives hives;
    ActivationContext context{L"znFramework"};
};

TEST_F(MobileConfigInRegistry, IsReadFromTheMobileProductInEveryMode) {
    Store(L"Software\\znMobile", L"EnterpriseHome", L"D:\\E");
    Store(L"Software\\znMobile", L"FieldHome", L"D:\\F");
    Store(L"Software\\znMobile\\VtMobile", L"EnterpriseWorkingDir", L"work E");
    Store(L"Software\\znMobile\\Transport", L"FieldIncoming", L"in F");
    Store(L"Software\\znMobile\\Transport", L"XDeltaRegPath", L"reference");
    Store(L"Software\\znMobile\\Transport\\Designer", L"XDeltaReference", L"base.mdb");
    const std::wstring password(L"\xD800\0x", 3);
    Store(L"Software\\znMobile\\Transport", L"FTPPassword", password);
    const auto reference = [](const std::wstring& home) {
        return home + L"\\Transport\\Designer\\XDeltaReferenceFiles\\base.mdb";
    };
    for (const DWORD mode : {0u, 5u, 2u, 0xFFFFFFFFu}) {
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\znMobile", L"MobileConfigValue", REG_DWORD, &mode,
                        sizeof mode);
        const bool homes = (mode & 3) != 0;
        Config config(Create<clsTranMobileConfig, IZNMobileConfig>());
        ASSERT_EQ(config.Open(L"Designer"), S_OK);
        EXPECT_EQ(config.Value(kEnterprise, L"MobileConfigValue"), std::to_wstring(mode & 3));
        EXPECT_EQ(config.Value(kEnterprise, L"WorkingDir"), homes ? L"D:\\E\\WorkingDir" : L"work E");
        EXPECT_EQ(config.Value(kField, L"Incoming"), homes ? L"D:\\F\\Transport\\Incoming" : L"in F");
        EXPECT_EQ(config.Value(kField, L"XDeltaRefPath"), homes ? reference(L"D:\\F") : L"reference");
        EXPECT_EQ(config.Value(kEnterprise, L"XDeltaRefPath"),
                  homes ? reference((mode & 3) == 1 ? L"D:\\E" : L"D:\\F") : L"reference");
        EXPECT_EQ(config.Value(kField, L"FTPPassword"), password) << "as it is stored";
        EXPECT_EQ(config.Value(kField, L"FTPFieldToEnterprise"), L"FieldToEnterprise");
    }
}

}  // namespace
}  // namespace tests
