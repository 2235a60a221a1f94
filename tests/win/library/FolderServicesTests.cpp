// Folder creation, the folder test, settings and options.
#include <gmock/gmock.h>

#include "base/Error.h"
#include "com/MessagePump.h"
#include "com/Values.h"
#include "common/Apartment.h"
#include "common/modMain.h"
#include "services/Options.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/TempFolder.h"

namespace tests {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class FolderServices : public testing::Test {
protected:
    FolderServices() { Main(); }

    ComApartment apartment;
    Framework framework;
    TempFolder temp;
};

TEST_F(FolderServices, CreatesEveryMissingLevel) {
    EXPECT_TRUE(CreateFolders(temp / L"a\\b\\c", true));
    EXPECT_TRUE(temp.Exists(L"a\\b\\c"));
    EXPECT_TRUE(CreateFolders(temp / L"a\\b\\c", true)) << "complete already";
    EXPECT_TRUE(CreateFolders(temp / L"a\\b\\d\\", true)) << "with a trailing separator";
    EXPECT_TRUE(temp.Exists(L"a\\b\\d"));
    std::wstring deep = temp / L"deep";
    while (deep.size() < 400)
        deep += L"\\0123456789012345678901234567890123456789";
    EXPECT_TRUE(CreateFolders(deep, true)) << "longer than 260 characters";
    EXPECT_TRUE(CreateFolders(deep, true));
    EXPECT_EQ(framework.LogText(), L"");
}

TEST_F(FolderServices, RefusesPathsThatNameNoFolder) {
    for (const wchar_t* path : {L"", L"C:", L"C:\\"})
        EXPECT_FALSE(CreateFolders(path, true));
    EXPECT_FALSE(CreateFolder(L"", true));
    EXPECT_FALSE(CreateFolder(temp.Path(), true)) << "nothing created";
    EXPECT_EQ(framework.LogText(), L"");
    EXPECT_FALSE(CreateFolders(L"no\\drive", true));
    EXPECT_THAT(framework.LogText(),
                HasSubstr(L"modMain.CreateFolders\r\nCould not create folders for no\\drive\r\n"));
}

TEST_F(FolderServices, AFileInTheWayIsReported) {
    temp.File(L"file");
    EXPECT_FALSE(CreateFolders(temp / L"file\\sub", true));
    EXPECT_THAT(framework.LogText(),
                HasSubstr(L"modMain.CreateFolder\r\nCould not create folder " + temp / L"file"));
}

TEST_F(FolderServices, AFailureIsShownUnlessSuppressed) {
    temp.File(L"file");
    // Without user interface the box is an error that carries the prompt to the caller's report.
    try {
        CreateFolders(temp / L"file\\sub", false);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const base::Error& error) {
        EXPECT_EQ(error.failure().number, -1);
        EXPECT_THAT(error.failure().description, HasSubstr(L"Could not create folder " + temp / L"file"));
    }
}

TEST_F(FolderServices, FolderTestLeavesNothingBehind) {
    EXPECT_TRUE(CheckReadWriteDelete(temp.Path(), false));
    temp.File(L"RWD_TestFile.txt", "left by a crash");
    EXPECT_TRUE(CheckReadWriteDelete(temp.Path(), false));
    EXPECT_TRUE(temp.Files().empty());
    EXPECT_EQ(framework.LogText(), L"");
}

TEST_F(FolderServices, FolderTestNamesTheStepThatFailed) {
    EXPECT_FALSE(CheckReadWriteDelete(temp / L"missing", false));
    EXPECT_EQ(framework.log.at(0).text, L"Test Tool:\r\nmodMain.CheckReadWriteDelete\r\nFolder " +
                                            temp / L"missing" + L" doesn't exist.");
    temp.Folder(L"RWD_TestFile.txt");
    EXPECT_FALSE(CheckReadWriteDelete(temp.Path(), false));
    EXPECT_THAT(
        framework.log.at(1).text,
        HasSubstr(L"modMain.CheckReadWriteDelete\r\nFailed read/write/delete folder test while creating test "
                  L"file " +
                  temp / L"RWD_TestFile.txt" + L"\r\n"));
}

TEST_F(FolderServices, SettingsFallBackToTheirDefault) {
    const auto set = Properties({{L"NAME", L"text"}, {L"EMPTY", L""}});
    set->SetProperty(com::Bstr(L"NUMBER").Get(), com::Variant(42).Get());
    VARIANT off{};
    off.vt = VT_BOOL;
    set->SetProperty(com::Bstr(L"SWITCH").Get(), off);
    EXPECT_EQ(GetProperty(set.Get(), L"NAME", L"default"), L"text");
    EXPECT_EQ(GetProperty(set.Get(), L"EMPTY", L"default"), L"");
    EXPECT_EQ(GetProperty(set.Get(), L"NUMBER", L"default"), L"42");
    EXPECT_EQ(GetProperty(set.Get(), L"SWITCH", L"default"), L"False");
    EXPECT_EQ(GetProperty(set.Get(), L"name", L"default"), L"default");
    EXPECT_THROW(GetProperty(nullptr, L"NAME", L""), base::Error);
    EXPECT_THAT(framework.LogText(), HasSubstr(L"modMain.GetProperty\r\n"));
}

TEST_F(FolderServices, MissingFrameworkObjectsAreReportedAndRaised) {
    framework.Remove(__uuidof(ZNRegistry));
    EXPECT_THROW(ZNRegObject(), base::Error);
    EXPECT_THAT(framework.LogText(), HasSubstr(L"modMain.ZNRegObject: \r\n"));
    EXPECT_EQ(ZNBrandingResObject(), ZNBrandingResObject()) << "created once";
}

TEST_F(FolderServices, OptionsOfTheCommandLineWinOverStoredSettings) {
    framework.registry[L"13/Transport/FTPServer"] = L"stored";
    framework.folders[L"E/FTPServer"] = L"enterprise";
    framework.folders[L"F/FTPServer"] = L"field";
    IZNRegistry* const registry = ZNRegObject();
    registry->Open(0, 13, com::Bstr(L"Transport").Get());
    FolderLocator folders;
    folders.Open(L"App");
    EXPECT_EQ(OptionOrSetting(L"FTPServer", registry), L"stored");
    EXPECT_EQ(OptionOrSetting(L"missing", registry), L"");
    EXPECT_EQ(OptionOrSetting(L"FTPServer", folders, L"FTPServer", true), L"field");
    EXPECT_EQ(OptionOrSetting(L"FTPServer", folders, L"FTPServer", false), L"enterprise");

    ThisApartment().commandLine->Parse(std::wstring_view(L"/FTPServer=typed"));
    EXPECT_EQ(OptionOrSetting(L"FTPServer", registry), L"typed");
    EXPECT_EQ(OptionOrSetting(L"FTPServer", folders, L"FTPServer", true), L"typed");
    EXPECT_EQ(OptionOrSetting(L"ftpserver", registry), L"") << "letter case matters";
}

TEST_F(FolderServices, AMessageToQuitStaysForTheHost) {
    PostQuitMessage(3);
    com::ProcessPendingMessages();
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
    EXPECT_EQ(message.wParam, 3u);
}

}  // namespace
}  // namespace tests
