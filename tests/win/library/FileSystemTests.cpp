// The unit that touches files: long paths, verified copies, moves that fail without a trace.
#include <thread>

#include "base/Environment.h"
#include "base/File.h"
#include "base/FileMoves.h"
#include "base/FileSystem.h"
#include "base/FolderTree.h"
#include "base/OemText.h"
#include "base/RollBack.h"
#include "base/WriteBlock.h"
#include "tests/win/support/Library.h"

namespace tests {
namespace {

class Files : public testing::Test {
protected:
    TempFolder temp;
};

std::wstring WhyThrown(const std::function<void()>& action) { return FailureOf(action).description; }

TEST_F(Files, TellsFilesFromFolders) {
    temp.File(L"x.mdb", "12345");
    temp.Folder(L"sub\\deeper");
    const auto listing = FileSystem::List(temp.Path());
    ASSERT_EQ(listing.files.size(), 1u);
    EXPECT_EQ(listing.files[0].size, 5u);
    EXPECT_THAT(listing.folders, ElementsAre(L"sub"));
    EXPECT_FALSE(FileSystem::FileExists(temp / L"sub") || FileSystem::FileExists(temp / L"missing"));
    EXPECT_FALSE(FileSystem::FolderExists(temp / L"x.mdb") || FileSystem::FolderExists(temp / L"missing"));
    EXPECT_THAT(WhyThrown([&] { FileSystem::List(temp / L"missing"); }), HasSubstr(temp / L"missing"));
}

TEST_F(Files, PathsBeginAtTheRootOfWhatTheirBaseLiesOn) {
    EXPECT_EQ(FileSystem::FullPath(L"C:\\base", L"\\x"), L"C:\\x");
    EXPECT_EQ(FileSystem::FullPath(L"\\\\server\\share\\base", L"\\x"), L"\\\\server\\share\\x");
    EXPECT_EQ(FileSystem::FullPath(L"\\\\server\\share\\base", L"x\\"), L"\\\\server\\share\\base\\x");
}

TEST_F(Files, ATemporaryFolderThatTheSystemRefusesIsNamed) {
    std::wstring deep = temp.Path();
    while (deep.size() < MAX_PATH)
        deep += L"\\" + std::wstring(100, L'x');
    const std::wstring before = base::EnvironmentVariable(L"TEMP");
    const base::RollBack restore([&] {
        for (const wchar_t* name : {L"TMP", L"TEMP"})
            SetEnvironmentVariableW(name, before.c_str());
    });
    for (const wchar_t* name : {L"TMP", L"TEMP"})
        SetEnvironmentVariableW(name, deep.c_str());
    EXPECT_THAT(WhyThrown([] { base::TemporaryFolder(); }), HasSubstr(L"folder for temporary files"));
}

TEST_F(Files, AProtectedCopyThatCannotTakeItsNameIsRemoved) {
    const auto source = temp.File(L"source");
    temp.Protect(L"source");
    const base::FileHandle holder = Held(temp.File(L"destination"), GENERIC_READ, FILE_SHARE_READ);
    EXPECT_THAT(WhyThrown([&] { FileSystem::CopyReplacing(source, temp / L"destination"); }),
                HasSubstr(temp / L"destination"));
    EXPECT_THAT(temp.Files(), ElementsAre(L"destination", L"source"));
}

TEST_F(Files, ACopyThatEndsShortIsRemoved) {
    // The system tells 4096 bytes and hands out fewer, as a redirector that hides a read error does.
    const std::wstring source = L"Z:\\sys\\devices\\system\\cpu\\online";
    if (!FileSystem::FileExists(source)) GTEST_SKIP() << "needs a Linux file system";
    const std::uint64_t size = base::ReadFile(source).size();
    EXPECT_THAT(
        WhyThrown([&] { FileSystem::CopyReplacing(source, temp / L"copy"); }),
        StartsWith(L"The copy is incomplete: " + std::to_wstring(size) + L" of 4096 bytes (" + source));
    EXPECT_THAT(temp.Files(), IsEmpty());
}

TEST_F(Files, ACopyThatIsCancelledInItsMiddleLeavesTheOlderFile) {
    const auto source = temp.File(L"source", std::string(3 << 20, 'x'));
    const auto destination = temp.File(L"destination", "older");
    EXPECT_THAT(WhyThrown([&] {
                    FileSystem::CopyReplacing(base::File::OpenUnchanging(source), destination,
                                              [] { return false; });
                }),
                HasSubstr(source));
    EXPECT_EQ(temp.Content(L"destination"), "older");
    EXPECT_THAT(temp.Files(), ElementsAre(L"destination", L"source"));
}

TEST_F(Files, WhatHoldsAFileForAMomentDoesNotKeepItFromBeingChanged) {
    const auto held = [&](const std::function<void()>& change) {
        base::FileHandle scanner = Held(temp.File(L"x", "1"), GENERIC_READ, FILE_SHARE_READ);
        std::thread end([&] {
            Sleep(200);
            scanner.Reset();
        });
        const base::RollBack join([&] { end.join(); });
        change();
    };
    held([&] { FileSystem::DeleteFile(temp / L"x"); });
    held([&] { FileSystem::MoveFile(temp / L"x", temp / L"y"); });
    held([&] { FileSystem::MoveReplacing(temp.File(L"z", "2"), temp / L"x"); });
    EXPECT_EQ(temp.Content(L"x"), "2");
    held([&] { base::File::Open(temp / L"x", GENERIC_WRITE, 0, CREATE_ALWAYS); });
    held([&] { FileSystem::WriteBlock(temp / L"x").Delete(); });
    EXPECT_THAT(temp.Files(), ElementsAre(L"y"));
    const base::FileHandle holder = Held(temp.File(L"x", "1"), GENERIC_READ, FILE_SHARE_READ);
    EXPECT_THAT(WhyThrown([&] { FileSystem::DeleteFile(temp / L"x"); }), HasSubstr(temp / L"x"));
}

TEST_F(Files, AMoveToAnotherVolumeIsWholeOrNotThere) {
    const std::wstring volume = L"Z:\\dev\\shm";
    if (!FileSystem::FolderExists(volume)) GTEST_SKIP() << "needs a second volume";
    const TempFolder other(volume);
    const auto source = temp.File(L"source", "packet");
    other.File(L"x", "in the way");
    EXPECT_THAT(WhyThrown([&] { FileSystem::MoveFile(source, other / L"x"); }), HasSubstr(other / L"x"));
    EXPECT_EQ(other.Content(L"x"), "in the way");
    EXPECT_EQ(temp.Content(L"source"), "packet");
    EXPECT_THAT(other.Files(), ElementsAre(L"x"));

    temp.Protect(L"source");
    FileSystem::MoveFile(source, other / L"y");
    EXPECT_EQ(other.Content(L"y"), "packet");
    EXPECT_TRUE(GetFileAttributesW((other / L"y").c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_THAT(temp.Files(), IsEmpty());
}

TEST_F(Files, NothingTakesTheShortNameOfAnotherFile) {
    temp.File(L"a week of work.mdb", "a week of work");
    const std::wstring name = temp.ShortName(L"a week of work.mdb");
    if (name == L"a week of work.mdb") GTEST_SKIP() << "needs a volume that keeps short names";
    const std::wstring source = temp.File(L"source", "packet");
    const std::wstring taken = temp / name;
    const auto expectRefusal = [&](const std::function<void()>& replace) {
        EXPECT_THAT(WhyThrown(replace),
                    StartsWith(taken + L" is the short name of another file, a week of work.mdb. "));
        EXPECT_EQ(temp.Content(L"a week of work.mdb"), "a week of work");
        EXPECT_THAT(temp.Files(), ElementsAre(L"a week of work.mdb", L"source"));
    };
    expectRefusal([&] { FileSystem::MoveReplacing(source, taken); });
    expectRefusal([&] { FileSystem::CopyReplacing(source, taken); });
    expectRefusal([&] { FileSystem::WriteBlock(source).MoveReplacing(taken); });
    temp.File(L"A WEEK OF WORK.mdb", "newer");
    FileSystem::MoveReplacing(source, temp / L"A Week of Work.MDB");
    EXPECT_EQ(temp.Content(L"a week of work.mdb"), "packet");
}

TEST_F(Files, AFolderOfWhichTheSystemTellsNothingIsNoEmptyOne) {
    EXPECT_THAT(base::FilesBelow(temp / L"missing"), IsEmpty());
    const std::wstring unknown = temp / L"a*b";
    EXPECT_THROW(base::FilesBelow(unknown), base::SystemError);
    EXPECT_THROW(base::FilesIn(unknown, L""), base::SystemError);
    EXPECT_THROW(base::SubFolders(unknown), base::SystemError);
    std::vector<std::wstring> unlisted;
    base::FilesBelow(unknown, [&](const std::wstring& subFolder, auto&) { unlisted.push_back(subFolder); });
    EXPECT_THAT(unlisted, ElementsAre(L""));
}

TEST(OemText, IsReadAsTheSystemDoes) {
    for (int code = 0x80; code < 0x100; ++code) {
        const char text[] = {static_cast<char>(code)};
        wchar_t expected = 0;
        OemToCharBuffW(text, &expected, 1);
        EXPECT_EQ(base::FromOemCodePage({text, 1}), std::wstring(1, expected)) << code;
    }
    EXPECT_EQ(base::FromOemCodePage(""), L"");
}

}  // namespace
}  // namespace tests
