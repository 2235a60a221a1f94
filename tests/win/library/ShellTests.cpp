// Child processes and the decode step that they end in.
#include <gmock/gmock.h>

#include "base/Utf8.h"
#include "common/clsShell.h"
#include "common/modMain.h"
#include "tests/win/support/ChildPrograms.h"
#include "tests/win/support/Library.h"

namespace tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ShellTest : public testing::Test {
protected:
    ShellTest() { Main(); }

    /// Whether a file that a child is to write is not there, also after the child's time for it.
    bool StaysAway(const wchar_t* name) {
        Sleep(900);
        return !temp.Exists(name);
    }

    ComApartment apartment;
    Framework framework;
    TempFolder temp;
    ChildPrograms children{temp};
    std::wstring program = children.Install(L"Child.exe");
};

TEST_F(ShellTest, ACommandThatEndsInTimeIsDoneWhateverItsExitCode) {
    ChildPrograms::Script(L"exit 7");
    EXPECT_TRUE(DoShellCmd(program + L" -x \"a b\"", 60, false));
    EXPECT_EQ(children.CommandLine(), base::ToUtf8(program) + " -x \"a b\"");
    EXPECT_TRUE(DoShellCmd(temp / L"missing.exe", 60, false)) << "one that cannot be started has ended";
    EXPECT_TRUE(DoShellCmd(L"", 60, false));
    EXPECT_THAT(framework.log, IsEmpty());
}

TEST_F(ShellTest, ACommandThatExceedsItsTimeIsReportedAndEnded) {
    ChildPrograms::Script(L"sleep 800|write " + temp / L"late" + L"*late");
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(DoShellCmd(program, 0, false));
    EXPECT_GE(GetTickCount64() - start, 195u) << "even no time at all allows two slices";
    EXPECT_THAT(framework.LogText(),
                HasSubstr(L"modMain.DoShellCmd\r\nCommand: " + program + L"\r\ntimed out\n"));
    EXPECT_EQ(framework.log.size(), 1u);
    EXPECT_TRUE(StaysAway(L"late"));
    EXPECT_FALSE(DoShellCmd(program, -5, false));
}

int messages = 0;
/// No lambda: it has no calling convention of its own, and 32-bit Windows calls back by another one.
void CALLBACK CountMessage(HWND, UINT, UINT_PTR, DWORD) { ++messages; }

TEST_F(ShellTest, TheHostGetsItsMessagesWhileACommandRuns) {
    messages = 0;
    const UINT_PTR timer = SetTimer(nullptr, 0, 50, &CountMessage);
    ChildPrograms::Script(L"sleep 700");
    EXPECT_TRUE(DoShellCmd(program, 60, false));
    KillTimer(nullptr, timer);
    EXPECT_GE(messages, 3);
}

TEST_F(ShellTest, ARunnerEndsItsProcessUnlessItLetItGo) {
    ChildPrograms::Script(L"sleep 500|write " + temp / L"ended" + L"*x");
    {
        clsShell shell;
        shell.Command(program);
        EXPECT_NE(shell.Execute(), 0);
        EXPECT_FALSE(shell.Wait(0));
    }
    ChildPrograms::Script(L"sleep 500|write " + temp / L"detached" + L"*x");
    {
        clsShell shell;
        shell.Command(program);
        shell.Execute();
        shell.Detach();
    }
    EXPECT_TRUE(StaysAway(L"ended"));
    for (int i = 0; i < 50 && !temp.Exists(L"detached"); ++i)
        Sleep(100);
    EXPECT_TRUE(temp.Exists(L"detached"));
}

TEST_F(ShellTest, LeaksNoHandles) {
    // Counted one by one: Wine's GetProcessHandleCount always answers 0.
    const auto handles = [] {
        int count = 0;
        DWORD flags = 0;
        for (UINT_PTR handle = 4; handle < 16384; handle += 4)
            if (GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags)) ++count;
        return count;
    };
    const auto run = [&](int times, const std::wstring& command) {
        for (int i = 0; i < times; ++i) {
            clsShell shell;
            shell.Command(command);
            shell.Execute();
            if (i % 2) shell.Wait(INFINITE);
            if (i % 3 == 0) shell.Terminate();
        }
    };
    run(2, program);
    const int before = handles();
    run(40, program);
    run(5000, temp / L"missing.exe");
    EXPECT_LE(handles(), before + 2);
}

class DecodeTest : public ShellTest {
protected:
    bool Decode(const std::wstring& name, LONG timeout = 60) {
        std::wstring output = temp / name;
        const bool done = CommonDecode(output, true, program, timeout, result);
        EXPECT_EQ(output, result);
        return done;
    }
    void ChildWrites(const std::wstring& name, const std::wstring& text) {
        ChildPrograms::Script(L"write " + temp / name + L"*" + text);
    }
    std::set<std::wstring> Outputs() const {
        std::set<std::wstring> files = temp.Files();
        std::erase_if(files, [](const std::wstring& name) {
            return name.find(L"Child.exe") != std::wstring::npos || name == L"command line.txt";
        });
        return files;
    }
    std::wstring Entry(size_t i) const { return framework.log.at(i).text; }

    std::wstring result;
};

TEST_F(DecodeTest, OutputsAreNamedMdbOrXml) {
    const std::pair<const wchar_t*, const wchar_t*> names[] = {
        {L"a.xMl", L"a.xMl"}, {L"data.zip", L"data.zip.MDB"}, {L"plain", L"plain.MDB"}, {L"b", L"b.MDB"}};
    for (const auto& [given, expected] : names) {
        ChildWrites(expected, L"x");
        EXPECT_TRUE(Decode(given)) << base::ToUtf8(given);
        EXPECT_EQ(result, temp / expected);
    }
}

TEST_F(DecodeTest, APreviousOutputAndAStaleBackupAreReplaced) {
    temp.File(L"x.mdb", "previous");
    temp.File(L"x.mdb_bck", "stale");
    temp.Protect(L"x.mdb_bck");
    ChildWrites(L"x.mdb", L"decoded");
    EXPECT_TRUE(Decode(L"x.mdb"));
    EXPECT_EQ(temp.Content(L"x.mdb"), "decoded");
    EXPECT_THAT(Outputs(), ElementsAre(L"x.mdb"));
    ASSERT_EQ(framework.log.size(), 1u);
    EXPECT_EQ(framework.log[0].type, ZN_EVENTLOG_INFORMATION_TYPE);
    EXPECT_THAT(Entry(0),
                HasSubstr(L"modMain.CommonDecode\r\nDecode backup output file " + temp / L"x.mdb_bck" +
                          L" already exists. Will attempt to delete the existing backup file.\r\n"));
}

TEST_F(DecodeTest, EveryFailureOfTheCommandBringsThePreviousOutputBack) {
    temp.File(L"x.mdb", "previous");
    ChildPrograms::Script(L"exit 3");
    EXPECT_FALSE(Decode(L"x.mdb")) << "no output";
    ChildWrites(L"x.mdb", L"");
    EXPECT_FALSE(Decode(L"x.mdb")) << "empty output";
    ChildPrograms::Script(L"write " + temp / L"x.mdb" + L"*half|sleep 5000");
    EXPECT_FALSE(Decode(L"x.mdb", 0)) << "time-out in the middle of the output";
    program = temp / L"missing.exe";
    EXPECT_FALSE(Decode(L"x.mdb")) << "program missing";
    EXPECT_EQ(temp.Content(L"x.mdb"), "previous");
    EXPECT_THAT(Outputs(), ElementsAre(L"x.mdb"));
    ASSERT_EQ(framework.log.size(), 5u);
    EXPECT_THAT(Entry(0), HasSubstr(L"Decoding failed for output file " + temp / L"x.mdb"));
    EXPECT_THAT(Entry(1), HasSubstr(L"Output file " + temp / L"x.mdb" +
                                    L" is zero length. Check that the decoder "
                                    L"input files are compatible with each other."));
    EXPECT_THAT(Entry(3), HasSubstr(L"modMain.CommonDecode\r\nCommand: " + children.Folder() +
                                    L"\\Child.exe\r\nCommand timed out"));
    for (const LogEntry& entry : framework.log)
        EXPECT_EQ(entry.type, ZN_EVENTLOG_ERROR_TYPE);
}

/// Keeps a file from being renamed or deleted.
class InUse {
public:
    explicit InUse(const std::wstring& path)
        : m_file(
              CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr)) {}
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;
    ~InUse() { CloseHandle(m_file); }

private:
    HANDLE m_file;
};

TEST_F(DecodeTest, NothingRunsWhileThePreviousOutputCannotBeMoved) {
    temp.File(L"x.mdb", "previous");
    const InUse output(temp / L"x.mdb");
    EXPECT_FALSE(Decode(L"x.mdb"));
    EXPECT_FALSE(children.WasStarted());
    ASSERT_EQ(framework.log.size(), 1u);
    EXPECT_EQ(framework.log[0].type, ZN_EVENTLOG_WARNING_TYPE);
    EXPECT_THAT(Entry(0),
                HasSubstr(L"Decode output file " + temp / L"x.mdb" +
                          L" already exists and couldn't be renamed. The file may be in use by another "
                          L"application. Please close the application and try again.\r\n"));
    temp.File(L"x.mdb_bck", "stale");
    const InUse backup(temp / L"x.mdb_bck");
    EXPECT_FALSE(Decode(L"x.mdb"));
    EXPECT_FALSE(children.WasStarted());
    ASSERT_EQ(framework.log.size(), 4u);
    EXPECT_THAT(Entry(2), HasSubstr(L"Existing decode backup file " + temp / L"x.mdb_bck" +
                                    L" couldn't be deleted Will attempt to delete the existing output file "
                                    L"instead.\r\n"));
    EXPECT_THAT(Entry(3),
                HasSubstr(L" already exists and couldn't be renamed or deleted. The file may be in use"));
    EXPECT_EQ(temp.Content(L"x.mdb"), "previous");
}

TEST_F(DecodeTest, ABackupThatCannotBeDeletedCostsThePreviousOutput) {
    temp.File(L"x.mdb", "previous");
    temp.File(L"x.mdb_bck", "stale");
    ChildWrites(L"x.mdb", L"decoded");
    const InUse backup(temp / L"x.mdb_bck");
    EXPECT_FALSE(Decode(L"x.mdb")) << "the backup is still in the way at the end";
    EXPECT_EQ(temp.Content(L"x.mdb"), "decoded");
    EXPECT_THAT(Entry(2), HasSubstr(L"modMain.CommonDecode\r\n"));
}

TEST_F(DecodeTest, TheRunAfterACrashPutsThingsRight) {
    temp.File(L"x.mdb_bck", "previous");
    ChildPrograms::Script(L"exit 1");
    EXPECT_FALSE(Decode(L"x.mdb"));
    EXPECT_EQ(temp.Content(L"x.mdb"), "previous");
    temp.File(L"x.mdb_bck", "stale");
    ChildWrites(L"x.mdb", L"decoded");
    EXPECT_TRUE(Decode(L"x.mdb"));
    EXPECT_THAT(Outputs(), ElementsAre(L"x.mdb"));
}

}  // namespace
}  // namespace tests
