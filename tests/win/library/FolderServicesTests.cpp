// Folder creation, the folder test, settings and options.
#include <atomic>
#include <thread>

#include "com/MessagePump.h"
#include "com/Object.h"
#include "common/Apartment.h"
#include "common/modMain.h"
#include "services/Options.h"
#include "services/PropertySet.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/Meanwhile.h"

namespace tests {
namespace {

class FolderServices : public PartTest {
protected:
    FolderServices() { Main(); }
};

TEST_F(FolderServices, CreatesEveryMissingLevel) {
    for (const std::wstring& path : {temp / L"a\\b\\c", temp / L"a\\b\\d\\", temp / L"a\\b\\d", temp / L"z"})
        EXPECT_TRUE(CreateFolders(path, true));
    EXPECT_TRUE(temp.Exists(L"a\\b\\c") && temp.Exists(L"a\\b\\d") && temp.Exists(L"z"));
    EXPECT_TRUE(CreateFolders(L"C:\\~", true)) << "as short as a path can be";
    EXPECT_TRUE(RemoveDirectoryW(L"C:\\~"));
    for (const wchar_t* path : {L"", L"C:", L"C:\\"})
        EXPECT_FALSE(CreateFolders(path, true)) << "it names no folder";
    EXPECT_FALSE(CreateFolder(L"", true));
    EXPECT_FALSE(CreateFolder(temp.Path(), true)) << "nothing created";
    EXPECT_FALSE(CreateFolders(L"no\\drive", true));
    EXPECT_THAT(framework.TakeLog(),
                OneReport(L"modMain.CreateFolders", L"Could not create folders for no\\drive\r\n"));
}

TEST_F(FolderServices, ALevelThatSomebodyElseMakesAtTheSameMomentIsThere) {
    constexpr int kRounds = 500;
    std::atomic<int> round = 0;
    std::thread other([&] {
        for (int i = 1; i <= kRounds; ++i) {
            while (round < i)
                std::this_thread::yield();
            for (int examined = 0; examined < i % 10; ++examined)
                FileSystem::FolderExists(temp.Path());
            CreateDirectoryW((temp / std::to_wstring(i)).c_str(), nullptr);
        }
    });
    int made = 0;
    while (round < kRounds)
        made += CreateFolders(temp / std::to_wstring(++round), true);
    other.join();
    EXPECT_EQ(made, kRounds);
}

TEST_F(FolderServices, AFileInTheWayIsReportedAndShownUnlessSuppressed) {
    temp.File(L"file");
    EXPECT_FALSE(CreateFolders(temp / L"file\\sub", true));
    EXPECT_THAT(framework.TakeLog(),
                OneReport(L"modMain.CreateFolder", L"Could not create folder T:\\file\r\n"));
    // Without user interface the box is an error that carries the prompt to the caller's report.
    const auto failure = FailureOf([&] { CreateFolders(temp / L"file\\sub", false); });
    EXPECT_EQ(failure.number, -1);
    EXPECT_THAT(failure.description, HasSubstr(L"Could not create folder " + temp / L"file"));
}

TEST_F(FolderServices, FolderTestLeavesNothingBehindAndNamesTheStepThatFailed) {
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(CheckReadWriteDelete(temp.Path(), false));
        EXPECT_THAT(temp.Files(), IsEmpty());
        temp.File(L"RWD_TestFile.txt", "left by a crash");
    }
    EXPECT_TRUE(CheckReadWriteDelete(temp.Path(), false));
    temp.Folder(L"RWD_TestFile.txt");
    EXPECT_FALSE(CheckReadWriteDelete(temp / L"missing", false));
    EXPECT_FALSE(CheckReadWriteDelete(temp.Path(), false));
    const std::wstring name = L"modMain.CheckReadWriteDelete";
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(Reported(name, L"Folder T:\\missing doesn't exist."),
                            Reported(name, L"Failed read/write/delete folder test while creating test file "
                                           L"T:\\RWD_TestFile.txt\r\n")));
}

/// Of a host that knows single properties only.
class NoArrays final : public com::Object<IZNPropertySet> {
public:
    STDMETHODIMP GetProperty(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP SetProperty(BSTR, VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP GetAllProperties(VARIANT*, VARIANT*) override { return S_OK; }
};

TEST_F(FolderServices, SettingsFallBackToTheirDefault) {
    const auto set = Properties({{L"NAME", L"text"}, {L"EMPTY", L""}});
    set->SetProperty(In(L"NUMBER"), Variant(42).Get());
    VARIANT off{};
    off.vt = VT_BOOL;
    set->SetProperty(In(L"SWITCH"), off);
    const std::pair<const wchar_t*, const wchar_t*> expected[] = {{L"NAME", L"text"},
                                                                  {L"EMPTY", L""},
                                                                  {L"NUMBER", L"42"},
                                                                  {L"SWITCH", L"False"},
                                                                  {L"name", L"default"}};
    for (const auto& [name, value] : expected)
        EXPECT_EQ(GetProperty(set.Get(), name, L"default"), value);
    EXPECT_THROW(GetProperty(nullptr, L"NAME", L""), base::Error);
    EXPECT_THAT(framework.TakeLog(), OneReport(L"modMain.GetProperty"));
    EXPECT_EQ(FailureOf([] { AllProperties(com::Make<NoArrays>().Get()); }).number, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(FailureOf([] { AllProperties(nullptr); }).number, E_POINTER);
}

TEST_F(FolderServices, MissingFrameworkObjectsAreReportedAndRaised) {
    framework.Remove(__uuidof(ZNRegistry));
    EXPECT_THROW(ZNRegObject(), base::Error);
    EXPECT_THAT(framework.TakeLog(), OneReport(L"modMain.ZNRegObject: "));
    EXPECT_EQ(ZNBrandingResObject(), ZNBrandingResObject()) << "created once";
}

TEST_F(FolderServices, OptionsOfTheCommandLineWinOverStoredSettings) {
    framework.registry[L"13/Transport/FTPServer"] = L"stored";
    framework.folders = {{L"E/FTPServer", L"enterprise"}, {L"F/FTPServer", L"field"}};
    IZNRegistry* const registry = ZNRegObject();
    registry->Open(0, 13, In(L"Transport"));
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

TEST_F(FolderServices, AMessageToQuitStaysForTheHostAndHoldsNothingUp) {
    bool rang = false;
    const Meanwhile meanwhile([&] { rang = true; });
    PostQuitMessage(3);
    for (int i = 0; i < 1000 && !rang; ++i) {
        Sleep(10);
        com::ProcessPendingMessages();
    }
    EXPECT_TRUE(rang);
    MSG message{};
    ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
    EXPECT_EQ(message.wParam, 3u);
    EXPECT_FALSE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) << "once";
}

ULONGLONG lastPost;
bool posting;
LRESULT CALLBACK PostAgain(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    // A test that fails must not run for ever.
    posting = GetTickCount64() < lastPost;
    if (message == WM_APP && posting) PostMessageW(window, WM_APP, 0, 0);
    return DefWindowProcW(window, message, wParam, lParam);
}

TEST_F(FolderServices, AWindowThatPostsToItselfDoesNotHoldAWaitUp) {
    lastPost = GetTickCount64() + 20000;
    const HWND window =
        CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&PostAgain));
    PostMessageW(window, WM_APP, 0, 0);
    com::ProcessPendingMessages();
    EXPECT_TRUE(posting);
    lastPost = 0;
    DestroyWindow(window);
}

}  // namespace
}  // namespace tests
