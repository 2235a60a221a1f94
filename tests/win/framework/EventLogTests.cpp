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
    ~LogTest() override { LogTo(L""); }

    void LogTo(const std::wstring& path) {
        EXPECT_EQ((Create<ZNApplicationContext, IZNHostSettings>())->put_LogFile(In(path)), S_OK);
    }
    void Write(const std::wstring& text, LONG type) {
        EXPECT_EQ((Create<ZNEventLog, IZNEventLog>())->Write(In(text), type), S_OK);
    }

    TempFolder temp;
};

TEST_F(LogTest, EntriesAreReadableText) {
    LogTo(temp / L"log.txt");
    Write(L"Tool:\r\nGröße", ZN_EVENTLOG_ERROR_TYPE);
    Write(L"second", ZN_EVENTLOG_WARNING_TYPE);
    Write(L"third", ZN_EVENTLOG_INFORMATION_TYPE);
    EXPECT_THAT(temp.Content(L"log.txt"),
                AllOf(StartsWith("20"), HasSubstr(" ERROR\r\nTool:\r\nGröße\r\n\r\n20"),
                      HasSubstr(" WARNING\r\nsecond\r\n\r\n20"), EndsWith(" INFORMATION\r\nthird\r\n\r\n")));
}

TEST_F(LogTest, ProcessesAndThreadsDoNotMixTheirEntries) {
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
    if (!given.empty()) return writeMany(L'x');

    SetEnvironmentVariableW(kVariable, path.c_str());
    const Process second(L"\"" + base::ProgramPath() + L"\" --gtest_filter=LogTest.ProcessesAndThreads*");
    SetEnvironmentVariableW(kVariable, nullptr);
    std::thread other([&] { writeMany(L'y'); });
    writeMany(L'z');
    other.join();
    EXPECT_EQ(second.ExitCode(), 0u);
    const std::string content = temp.Content(L"log.txt");
    for (const char letter : {'x', 'y', 'z'}) {
        const std::string entry = " ERROR\r\n" + std::string(kLength, letter) + "\r\n\r\n";
        int whole = 0;
        for (size_t at = content.find(entry); at != std::string::npos; at = content.find(entry, at + 1))
            ++whole;
        EXPECT_EQ(whole, kEntries) << letter;
    }
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
