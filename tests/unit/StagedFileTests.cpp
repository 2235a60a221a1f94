// A staged file appears as a whole, or leaves everything as it was.
#include <gtest/gtest.h>

#include "base/StagedFile.h"
#include "tests/win/support/TempFolder.h"

namespace {

TEST(StagedFile, ReplacesAFileOnlyWhenItIsComplete) {
    const tests::TempFolder folder;
    const std::wstring path = folder.File(L"a.mdb", "old");
    {
        base::StagedFile first(path);
        base::StagedFile second(path);
        first.Write(base::BytesOf("draft"));
        EXPECT_EQ(folder.Content(L"a.mdb"), "old");
    }
    EXPECT_EQ(folder.Files().size(), 1U);
    base::StagedFile file(path);
    file.Write(base::BytesOf("newer draft"));
    file.Truncate(5);
    file.WriteAt(0, base::BytesOf("N"));
    file.Write(base::BytesOf("!"));
    EXPECT_EQ(folder.Content(L"a.mdb"), "old");
    file.Commit();
    EXPECT_EQ(folder.Content(L"a.mdb"), "Newer!");
    EXPECT_EQ(folder.Files().size(), 1U);
}

}  // namespace
