// The event log, as its text file shows it.
#include "tests/win/framework/FrameworkTest.h"

#include <thread>

#include "base/Utf8.h"
#include "com/Values.h"
#include "tests/win/support/TempFolder.h"

using Microsoft::WRL::ComPtr;

namespace tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class LogTest : public FrameworkTest {
protected:
    LogTest() : context(Create<ZNApplicationContext, IZNHostSettings>()) {}
    ~LogTest() override { context->put_LogFile(com::Bstr(L"").Get()); }

    TempFolder temp;
    ComPtr<IZNHostSettings> context;
};

TEST_F(LogTest, EntriesAreReadableText) {
    context->put_LogFile(com::Bstr(temp / L"log.txt").Get());
    const auto log = Create<ZNEventLog, IZNEventLog>();
    EXPECT_EQ(log->Write(com::Bstr(L"Tool:\r\nGröße").Get(), ZN_EVENTLOG_ERROR_TYPE), S_OK);
    EXPECT_EQ(log->Write(com::Bstr(L"second").Get(), ZN_EVENTLOG_WARNING_TYPE), S_OK);
    EXPECT_EQ(log->Write(com::Bstr(L"third").Get(), ZN_EVENTLOG_INFORMATION_TYPE), S_OK);
    const std::string content = temp.Content(L"log.txt");
    EXPECT_THAT(content, HasSubstr(" ERROR\r\nTool:\r\nGröße\r\n\r\n"));
    EXPECT_THAT(content, HasSubstr(" WARNING\r\nsecond\r\n\r\n"));
    EXPECT_THAT(content, HasSubstr(" INFORMATION\r\nthird\r\n\r\n"));
    EXPECT_THAT(content, StartsWith("20"));
}

/// Starts this program's running test a second time; the variable tells it its role.
class SecondProcess {
public:
    SecondProcess(const wchar_t* variable, const std::wstring& value) {
        wchar_t program[MAX_PATH];
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        std::wstring command = L"\"" + std::wstring(program) + L"\" --gtest_filter=" +
                               base::FromUtf8(test->test_suite_name()) + L"." + base::FromUtf8(test->name());
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        SetEnvironmentVariableW(variable, value.c_str());
        EXPECT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                   &startup, &m_process));
        SetEnvironmentVariableW(variable, nullptr);
    }
    SecondProcess(const SecondProcess&) = delete;
    SecondProcess& operator=(const SecondProcess&) = delete;
    ~SecondProcess() {
        CloseHandle(m_process.hThread);
        CloseHandle(m_process.hProcess);
    }
    DWORD Wait() const {
        DWORD code = ~0u;
        WaitForSingleObject(m_process.hProcess, 60000);
        GetExitCodeProcess(m_process.hProcess, &code);
        return code;
    }

private:
    PROCESS_INFORMATION m_process{};
};

TEST_F(LogTest, ProcessesAndThreadsDoNotMixTheirEntries) {
    constexpr int kEntries = 200;
    constexpr size_t kLength = 3000;
    constexpr const wchar_t* kVariable = L"ZN_SHARED_TEST_LOG";
    wchar_t given[MAX_PATH] = L"";
    const bool isSecondProcess = GetEnvironmentVariableW(kVariable, given, MAX_PATH) != 0;
    const std::wstring path = isSecondProcess ? given : temp / L"log.txt";
    context->put_LogFile(com::Bstr(path).Get());
    const auto writeMany = [&](wchar_t letter) {
        const ComApartment own;
        const auto log = Create<ZNEventLog, IZNEventLog>();
        for (int i = 0; i < kEntries; ++i)
            EXPECT_EQ(log->Write(com::Bstr(std::wstring(kLength, letter)).Get(), ZN_EVENTLOG_ERROR_TYPE),
                      S_OK);
    };
    if (isSecondProcess) return writeMany(L'x');

    const SecondProcess second(kVariable, path);
    std::thread other([&] { writeMany(L'y'); });
    writeMany(L'z');
    other.join();
    EXPECT_EQ(second.Wait(), 0u);
    const std::string content = temp.Content(L"log.txt");
    const auto whole = [&](char letter) {
        const std::string entry = " ERROR\r\n" + std::string(kLength, letter) + "\r\n\r\n";
        int found = 0;
        for (size_t at = content.find(entry); at != std::string::npos; at = content.find(entry, at + 1))
            ++found;
        return found;
    };
    EXPECT_EQ(whole('x'), kEntries);
    EXPECT_EQ(whole('y'), kEntries);
    EXPECT_EQ(whole('z'), kEntries);
}

TEST_F(LogTest, TheFileMayLieDeep) {
    std::wstring folder = L"\\\\?\\" + temp.Path();
    for (int i = 0; i < 4; ++i) {
        folder += L"\\" + std::wstring(100, L'd');
        ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    }
    const std::wstring file = folder + L"\\log.txt";
    context->put_LogFile(com::Bstr(file.substr(4)).Get());
    EXPECT_EQ((Create<ZNEventLog, IZNEventLog>())->Write(com::Bstr(L"deep").Get(), ZN_EVENTLOG_ERROR_TYPE),
              S_OK);
    WIN32_FIND_DATAW found{};
    const HANDLE find = FindFirstFileW(file.c_str(), &found);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    FindClose(find);
    EXPECT_GT(found.nFileSizeLow, 10u);
}

TEST_F(LogTest, AnUnwritableFileIsNoFailureWhileWindowsTakesTheEntry) {
    context->put_LogFile(com::Bstr(temp / L"missing\\log.txt").Get());
    EXPECT_EQ((Create<ZNEventLog, IZNEventLog>())->Write(com::Bstr(L"text").Get(), ZN_EVENTLOG_ERROR_TYPE),
              S_OK);
}

}  // namespace
}  // namespace tests
