// The unit that touches files: long paths, verified copies, moves that fail without a trace.

#include <gmock/gmock.h>

#include "base/Error.h"
#include "base/FileSystem.h"

#include "base/File.h"
#include "tests/win/support/TempFolder.h"

namespace tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Files : public testing::Test {
protected:
    TempFolder temp;
};

std::wstring DescriptionOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const base::Error& error) {
        return error.failure().description;
    }
    return L"(nothing was thrown)";
}

TEST_F(Files, ListsWhatLiesDirectlyInAFolder) {
    temp.File(L"x.mdb", "12345");
    temp.File(L"sub\\y.mdb");
    temp.Folder(L"sub\\deeper");
    const auto listing = FileSystem::List(temp.Path());
    ASSERT_EQ(listing.files.size(), 1u);
    EXPECT_EQ(listing.files[0].name, L"x.mdb");
    EXPECT_EQ(listing.files[0].size, 5u);
    EXPECT_THAT(listing.folders, ElementsAre(L"sub"));
    EXPECT_TRUE(FileSystem::List(temp / L"sub\\deeper").files.empty());
    EXPECT_THAT(DescriptionOf([&] { FileSystem::List(temp / L"missing"); }), HasSubstr(temp / L"missing"));
}

TEST_F(Files, TellsFilesFromFolders) {
    temp.File(L"file");
    EXPECT_TRUE(FileSystem::FileExists(temp / L"file"));
    EXPECT_FALSE(FileSystem::FolderExists(temp / L"file"));
    EXPECT_TRUE(FileSystem::FolderExists(temp.Path()));
    EXPECT_FALSE(FileSystem::FileExists(temp.Path()));
    EXPECT_FALSE(FileSystem::FileExists(temp / L"missing"));
    EXPECT_FALSE(FileSystem::FolderExists(temp / L"missing"));
}

TEST_F(Files, WorksOnPathsOfAnyLength) {
    std::wstring folder = temp.Path();
    while (folder.size() < 600) {
        folder += L"\\0123456789012345678901234567890123456789 ~";
        FileSystem::CreateFolder(folder);
    }
    const std::wstring first = folder + L"\\first";
    const std::wstring second = folder + L"\\second";
    base::WriteNewFile(first, "one\r\ntwo\r\n");
    FileSystem::CopyFile(first, second);
    FileSystem::DeleteFile(first);
    FileSystem::MoveFile(second, first);
    EXPECT_EQ(FileSystem::FileSize(first), 10u);
    EXPECT_EQ(FileSystem::List(folder).files.size(), 1u);
    EXPECT_EQ(base::ReadFile(first), "one\r\ntwo\r\n");
}

TEST_F(Files, CopiesOverAnExistingFile) {
    const auto source = temp.File(L"source", "new");
    const auto destination = temp.File(L"destination", "older content");
    FileSystem::CopyFile(source, destination);
    EXPECT_EQ(temp.Content(L"destination"), "new");
    EXPECT_THAT(DescriptionOf([&] { FileSystem::CopyFile(temp / L"missing", destination); }),
                HasSubstr(temp / L"missing"));
    EXPECT_EQ(temp.Content(L"destination"), "new");
}

TEST_F(Files, ASourceThatGrewSinceItWasListedIsCopied) {
    FileSystem::CopyFile(temp.File(L"source", "12345"), temp / L"copy", 4);
    EXPECT_EQ(temp.Content(L"copy"), "12345");
}

TEST_F(Files, MovesNeverReplaceAFile) {
    const auto source = temp.File(L"source", "new");
    const auto destination = temp.File(L"destination", "old");
    EXPECT_THAT(DescriptionOf([&] { FileSystem::MoveFile(source, destination); }), HasSubstr(destination));
    EXPECT_EQ(temp.Content(L"source"), "new");
    EXPECT_EQ(temp.Content(L"destination"), "old");
}

TEST_F(Files, DeletesReadOnlyFilesOnlyWhenAsked) {
    const auto file = temp.File(L"file");
    temp.Protect(L"file");
    EXPECT_THAT(DescriptionOf([&] { FileSystem::DeleteFile(file); }), HasSubstr(file));
    EXPECT_TRUE(temp.Exists(L"file"));
    FileSystem::DeleteFile(file, FileSystem::ReadOnlyFiles::Delete);
    EXPECT_FALSE(temp.Exists(L"file"));
    EXPECT_THROW(FileSystem::DeleteFile(file, FileSystem::ReadOnlyFiles::Delete), base::Error);
}

}  // namespace
}  // namespace tests
