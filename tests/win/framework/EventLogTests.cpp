// The event log, as its text file shows it.
#include <thread>

#include "base/Environment.h"
#include "base/Module.h"
#include "tests/win/support/Dll.h"
#include "tests/win/support/Process.h"
#include "tests/win/support/TempFolder.h"

namespace tests {
namespace {

class LogTest : public FrameworkTest {
protected:
    ~LogTest() override {
        LogTo(L"");
        Limit(0, 0);
    }

    void LogTo(const std::wstring& path) {
        EXPECT_EQ((Create<ZNApplicationContext, IZNHostSettings>())->put_LogFile(In(path)), S_OK);
    }
    void Limit(LONG kilobytes, LONG kept) {
        EXPECT_EQ((Create<ZNApplicationContext, IZNHostSettings2>())->LimitLogFile(kilobytes, kept), S_OK);
    }
    void Write(const std::wstring& text, LONG type = ZN_EVENTLOG_ERROR_TYPE) {
        EXPECT_EQ((Create<ZNEventLog, IZNEventLog>())->Write(In(text), type), S_OK);
    }

    TempFolder temp;
};

/// Texts of the files of a log, the oldest first.
std::vector<std::string> LogFiles(const TempFolder& temp) {
    std::vector<std::string> files;
    for (int number = 1; number < 100; ++number) {
        const std::wstring name = L"log." + std::to_wstring(number) + L".txt";
        if (temp.Exists(name)) files.push_back(temp.Content(name));
    }
    files.push_back(temp.Content(L"log.txt"));
    return files;
}

TEST_F(LogTest, EntriesAreReadableText) {
    LogTo(temp / L"log.txt");
    Write(L"Tool:\r\nGröße", ZN_EVENTLOG_ERROR_TYPE);
    Write(L"second", ZN_EVENTLOG_WARNING_TYPE);
    Write(L"third", ZN_EVENTLOG_INFORMATION_TYPE);
    EXPECT_THAT(temp.Content(L"log.txt"),
                AllOf(StartsWith("20"), HasSubstr(" ERROR\r\nTool:\r\nGröße\r\n\r\n20"),
                      HasSubstr(" WARNING\r\nsecond\r\n\r\n20"), EndsWith(" INFORMATION\r\nthird\r\n\r\n")));
}

TEST_F(LogTest, ProcessesAndThreadsNeitherMixNorLoseEntries) {
    constexpr int kEntries = 200;
    constexpr size_t kLength = 3000;
    constexpr const wchar_t* kVariable = L"ZN_SHARED_TEST_LOG";
    const auto writeMany = [&](wchar_t letter) {
        const ComApartment own;
        for (int i = 0; i < kEntries; ++i)
            Write(std::wstring(kLength, letter), ZN_EVENTLOG_ERROR_TYPE);
    };
    // The variable tells the second process, which runs this test too, its role.
    const std::wstring given = base::EnvironmentVariable(kVariable);
    const std::wstring path = given.empty() ? temp / L"log.txt" : given;
    LogTo(path);
    Limit(500, 0);
    if (!given.empty()) return writeMany(L'x');

    SetEnvironmentVariableW(kVariable, path.c_str());
    const Process second(L"\"" + base::ProgramPath() + L"\" --gtest_filter=LogTest.ProcessesAndThreads*");
    SetEnvironmentVariableW(kVariable, nullptr);
    std::thread other([&] { writeMany(L'y'); });
    writeMany(L'z');
    other.join();
    EXPECT_EQ(second.ExitCode(), 0u);
    std::string content;
    for (const std::string& file : LogFiles(temp))
        content += file;
    EXPECT_GT(LogFiles(temp).size(), 3u) << "they set the file aside meanwhile";
    for (const char letter : {'x', 'y', 'z'}) {
        const std::string entry = " ERROR\r\n" + std::string(kLength, letter) + "\r\n\r\n";
        int whole = 0;
        for (size_t at = content.find(entry); at != std::string::npos; at = content.find(entry, at + 1))
            ++whole;
        EXPECT_EQ(whole, kEntries) << letter;
    }
}

TEST_F(LogTest, AFullFileIsSetAsideUnderTheNextNumber) {
    LogTo(temp / L"log.txt");
    temp.File(L"log.7.txt", "older");
    temp.File(L"log.07.txt", "somebody else's");
    const std::wstring half(600, L'x');
    Limit(1, 2);
    for (const wchar_t letter : {L'a', L'b', L'c'})
        Write(letter + half);
    EXPECT_THAT(LogFiles(temp), ElementsAre(HasSubstr("axxx"), HasSubstr("bxxx"), HasSubstr("cxxx")));
    EXPECT_FALSE(temp.Exists(L"log.7.txt")) << "two are kept";
    EXPECT_TRUE(temp.Exists(L"log.9.txt"));
    EXPECT_EQ(temp.Content(L"log.07.txt"), "somebody else's");
    Limit(0, 0);
    Write(L'd' + half);
    EXPECT_THAT(temp.Content(L"log.txt"), AllOf(HasSubstr("cxxx"), HasSubstr("dxxx")));
    EXPECT_EQ((Create<ZNApplicationContext, IZNHostSettings2>())->LimitLogFile(-1, 0), E_INVALIDARG);
}

TEST_F(LogTest, AFileThatSomebodyReadsGrowsOn) {
    LogTo(temp / L"log.txt");
    Limit(1, 0);
    const std::wstring half(600, L'x');
    Write(half);
    {
        const auto reader = Held(temp / L"log.txt", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
        Write(half);
        EXPECT_EQ(LogFiles(temp).size(), 1u);
    }
    Write(half);
    EXPECT_EQ(LogFiles(temp).size(), 2u);
}

TEST_F(LogTest, AnUnwritableFileIsNoFailureWhileWindowsTakesTheEntry) {
    LogTo(temp / L"missing\\log.txt");
    Write(L"text", ZN_EVENTLOG_ERROR_TYPE);
}

/// As the Event Viewer makes it of the entry's number and text.
TEST_F(LogTest, WindowsShowsAnEntryAsItWasWritten) {
    const std::wstring text = L"Tool:\r\n100 % of \"a%b\"\r\n";
    auto arguments = reinterpret_cast<DWORD_PTR>(text.c_str());
    wchar_t shown[64];
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY,
                                        GetModuleHandleW(L"znFramework.dll"), 1, 0, shown, 64,
                                        reinterpret_cast<va_list*>(&arguments));
    EXPECT_EQ(std::wstring(shown, length), text);
}

}  // namespace
}  // namespace tests
