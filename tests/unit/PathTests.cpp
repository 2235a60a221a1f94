// Windows paths are taken apart as Windows does, on any system.
#include <gtest/gtest.h>

#include <tuple>

#include "base/Path.h"

namespace {

TEST(Path, JoinKeepsOneSeparator) {
    EXPECT_EQ(Path::Join(L"C:\\a", L"b"), L"C:\\a\\b");
    EXPECT_EQ(Path::Join(L"C:\\a\\", L"b"), L"C:\\a\\b");
    EXPECT_EQ(Path::Join(L"C:", L"b"), L"C:\\b");
    EXPECT_EQ(Path::Join(L"C:\\a", L""), L"C:\\a");
    EXPECT_EQ(Path::Join(L"", L"b"), L"b");
    EXPECT_EQ(Path::WithSeparator(L"C:\\a"), L"C:\\a\\");
    EXPECT_EQ(Path::WithSeparator(L"C:\\a/"), L"C:\\a/");
}

TEST(Path, SplitsIntoParentNameAndBase) {
    for (const auto& [path, parent, name, base] : {std::tuple(L"C:\\a\\x.mdb", L"C:\\a", L"x.mdb", L"x"),
                                                   {L"C:\\x.mdb", L"C:\\", L"x.mdb", L"x"},
                                                   {L"C:\\a\\\\x", L"C:\\a", L"x", L"x"},
                                                   {L"\\\\s\\h\\x.y.z", L"\\\\s\\h\\", L"x.y.z", L"x.y"},
                                                   {L"\\\\s\\h\\d\\x", L"\\\\s\\h\\d", L"x", L"x"},
                                                   {L"x.mdb", L"", L"x.mdb", L"x"},
                                                   {L"C:/a/x.mdb", L"C:/a", L"x.mdb", L"x"},
                                                   {L"C:\\a.b\\x", L"C:\\a.b", L"x", L"x"},
                                                   {L"C:\\a\\", L"C:\\a", L"", L""},
                                                   {L"", L"", L"", L""}}) {
        EXPECT_EQ(Path::ParentFolder(path), parent) << testing::PrintToString(std::wstring(path));
        EXPECT_EQ(Path::FileName(path), name);
        EXPECT_EQ(Path::BaseName(path), base);
    }
}

TEST(Path, DriveIsLetterOrShare) {
    EXPECT_EQ(Path::Drive(L"C:\\a"), L"C:");
    EXPECT_EQ(Path::Drive(L"C:"), L"C:");
    EXPECT_EQ(Path::Drive(L"\\\\server\\share\\a\\b"), L"\\\\server\\share");
    EXPECT_EQ(Path::Drive(L"\\\\server\\share"), L"\\\\server\\share");
    for (const wchar_t* path : {L"", L"a", L"a\\b", L"\\a", L"\\a\\b\\c", L"\\\\server", L"\\\\"})
        EXPECT_EQ(Path::Drive(path), L"") << testing::PrintToString(std::wstring(path));
}

TEST(Path, LastFourOfShortNamesIsTheName) {
    EXPECT_EQ(Path::LastFour(L"C:\\a\\x.mdb"), L".mdb");
    EXPECT_EQ(Path::LastFour(L"x.html"), L"html");
    EXPECT_EQ(Path::LastFour(L"abc"), L"abc");
}

TEST(Path, PlainNamesStayInTheirFolder) {
    for (const wchar_t* name : {L"a.mdb", L"a b.mdb", L".hidden", L"CONSOLE.TXT", L"CON x", L"COM.mdb",
                                L"COM0", L"COM10", L"a..b", L"~x"})
        EXPECT_TRUE(Path::IsPlainName(name)) << testing::PrintToString(std::wstring(name));
    for (const wchar_t* name :
         {L"", L".", L"..", L"a\\b", L"a/b", L"..\\a", L"C:a", L"a:stream", L"CON", L"nul.txt", L"Aux .mdb",
          L"com1", L"LPT9.x.y", L"COM\u00B2", L"conin$", L"a.", L"a ", L".. "})
        EXPECT_FALSE(Path::IsPlainName(name)) << testing::PrintToString(std::wstring(name));
    for (const wchar_t forbidden : std::wstring(L"*?\"<>|\t\x1F\0", 9))
        EXPECT_FALSE(Path::IsPlainName(std::wstring(L"a") + forbidden + L"b")) << static_cast<int>(forbidden);
}

}  // namespace
