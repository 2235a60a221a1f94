// Child processes and the decode step that they end in.
#include "base/File.h"
#include "base/FileMoves.h"
#include "base/Utf8.h"
#include "common/clsShell.h"
#include "common/modMain.h"
#include "tests/win/support/ChildPrograms.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/Meanwhile.h"
#include "tests/win/support/Process.h"
#include "tests/win/support/Resources.h"

namespace tests {
namespace {

/// The child is there while its file "running" is.
constexpr auto kAwaitGo = L"hold T:\\running|write T:\\started*x|await T:\\go|write T:\\done*x";
const std::wstring kProgram = L"T:\\program files\\Child.exe";

class ShellTest : public PartTest {
protected:
    ShellTest() { Main(); }

    ChildPrograms children{temp};
    std::wstring program = children.Install(L"Child.exe");
};

TEST_F(ShellTest, ACommandThatEndsInTimeIsDoneWhateverItsExitCode) {
    children.Script(L"exit 7");
    EXPECT_TRUE(DoShellCmd(program + L" -x \"a b\"", 60, false));
    EXPECT_EQ(children.CommandLine(), kProgram + L" -x \"a b\"");
    EXPECT_TRUE(DoShellCmd(temp / L"missing.exe", 60, false)) << "one that cannot be started has ended";
    EXPECT_TRUE(DoShellCmd(L"", 60, false));
}

TEST_F(ShellTest, NoProgramIsStartedButTheOneThatIsMeant) {
    const std::wstring command = program + L" -x \"a b\"";
    const auto passed = [&](const std::wstring& meant) {
        FileSystem::TryDelete(temp / L"command line.txt");
        EXPECT_TRUE(DoShellCmd(command, 60, false, meant));
        return temp.Content(L"command line.txt");
    };
    const std::string asFound = passed(L"");
    EXPECT_EQ(passed(program), asFound);
    children.Install(L"..\\program.exe");
    EXPECT_EQ(passed(program), asFound) << "not by the one that the first word names";
    FileSystem::TryDelete(program);
    EXPECT_EQ(passed(program), "(no file)") << "one that cannot be started has ended";
}

TEST_F(ShellTest, ACommandThatExceedsItsTimeIsReportedAndEnded) {
    children.Script(kAwaitGo);
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(DoShellCmd(program, 0, false));
    EXPECT_GE(GetTickCount64() - start, 195u) << "even no time at all allows two slices";
    EXPECT_FALSE(temp.Exists(L"running"));
    EXPECT_FALSE(DoShellCmd(program, -5, false));
    const auto report = Reported(L"modMain.DoShellCmd", L"Command: " + kProgram + L"\r\ntimed out");
    EXPECT_THAT(framework.TakeLog(), ElementsAre(report, report));
}

TEST_F(ShellTest, ACommandInheritsHandlesAndShowsNoWindow) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const base::KernelHandle event(CreateEventW(&inheritable, TRUE, FALSE, nullptr));
    children.Script(L"tell T:\\start|signal " + std::to_wstring(reinterpret_cast<ULONG_PTR>(event.Get())));
    SetPriorityClass(GetCurrentProcess(), IDLE_PRIORITY_CLASS);
    EXPECT_TRUE(DoShellCmd(program, 60, false));
    SetPriorityClass(GetCurrentProcess(), NORMAL_PRIORITY_CLASS);
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(temp.Content(L"start"), "console, normal");
}

TEST_F(ShellTest, AProgramThatWritesBeyondABufferEnds) {
    children.Script(L"overrun 16|exit 3");
    EXPECT_EQ(Process(program).ExitCode(), 3u);
    children.Script(L"overrun 32|exit 3");
    constexpr DWORD kFailFast = 0xC0000602;
    EXPECT_EQ(Process(program).ExitCode(), kFailFast);
}

TEST_F(ShellTest, TheHostGetsItsMessagesWhileACommandRuns) {
    const Meanwhile meanwhile([&] { temp.File(L"go"); });
    children.Script(kAwaitGo);
    EXPECT_TRUE(DoShellCmd(program, 20, false));
}

TEST_F(ShellTest, TimeIsCountedInSeconds) {
    const Meanwhile meanwhile([&] { temp.File(L"go"); }, 8000);
    children.Script(kAwaitGo);
    EXPECT_FALSE(DoShellCmd(program, 1, false)) << "it would have ended by itself within ten times that";
    EXPECT_THAT(framework.TakeLog(),
                OneReport(L"modMain.DoShellCmd", L"Command: " + kProgram + L"\r\ntimed out"));
}

TEST_F(ShellTest, ARunnerEndsItsProcessUnlessItLetItGo) {
    children.Script(kAwaitGo);
    RunningProgram running;
    for (const bool letGo : {false, true}) {
        {
            clsShell shell;
            shell.Command(program);
            EXPECT_NE(shell.Execute(), 0);
            EXPECT_TRUE(temp.Appears(L"started"));
            EXPECT_FALSE(shell.Wait(0));
            if (letGo) running = shell.Detach();
        }
        EXPECT_EQ(temp.Exists(L"running"), letGo);
        DeleteFileW((temp / L"started").c_str());
    }
    temp.File(L"go");
    EXPECT_TRUE(temp.Appears(L"done"));
}

TEST_F(ShellTest, WhatAProgramHasStartedItselfEndsWithItsTime) {
    children.Script(kAwaitGo);
    {
        clsShell launcher;
        launcher.Command(L"cmd /c \"" + program + L"\"");
        EXPECT_NE(launcher.Execute(), 0);
        EXPECT_TRUE(temp.Appears(L"started"));
        EXPECT_FALSE(launcher.WaitProcessingMessages(0));
    }
    for (int i = 0; i < 1000 && temp.Exists(L"running"); ++i)
        Sleep(10);
    EXPECT_FALSE(temp.Exists(L"running")) << "what it makes would take the place of what is newer";
}

TEST_F(ShellTest, LeaksNoHandles) {
    DoShellCmd(program, 60, false);
    const int before = HandlesInUse();
    for (int i = 0; i < 5; ++i) {
        DoShellCmd(program, 60, false);
        clsShell ended;
        ended.Command(program);
        ended.Execute();
    }
    for (int i = 0; i < 100; ++i)
        DoShellCmd(temp / L"missing.exe", 60, false);
    EXPECT_LE(HandlesInUse(), before + 2);
}

const std::wstring kDecode = L"modMain.CommonDecode";

class DecodeTest : public ShellTest {
protected:
    bool Decode(const std::wstring& name = L"x.mdb", LONG timeout = 60) {
        std::wstring path = temp / name;
        const bool done = CommonDecode(path, true, program, timeout, result);
        EXPECT_EQ(path, result);
        return done;
    }
    /// What the output holds, and its backup where there is one.
    std::string Files() const {
        return temp.Content(L"x.mdb") + (temp.Exists(L"x.mdb_bck") ? "+" + temp.Content(L"x.mdb_bck") : "");
    }

    std::wstring result;
};

TEST_F(DecodeTest, OutputsAreNamedMdbOrXml) {
    const std::pair<const wchar_t*, const wchar_t*> names[] = {
        {L"a.xMl", L"a.xMl"}, {L"data.zip", L"data.zip.MDB"}, {L"b", L"b.MDB"}};
    for (const auto& [given, expected] : names) {
        children.Script(L"write T:\\" + std::wstring(expected) + L"*x");
        EXPECT_TRUE(Decode(given)) << base::ToUtf8(given);
        EXPECT_EQ(result, temp / expected);
    }
}

TEST_F(DecodeTest, APreviousOutputAndAStaleBackupAreReplaced) {
    temp.File(L"x.mdb", "previous");
    temp.File(L"x.mdb_bck", "stale");
    temp.Protect(L"x.mdb_bck");
    children.Script(L"write T:\\x.mdb*decoded");
    EXPECT_TRUE(Decode());
    EXPECT_EQ(Files(), "decoded");
    const std::wstring text = L"Decode backup output file T:\\x.mdb_bck already exists. Will attempt to "
                              L"delete the existing backup file.\r\n";
    EXPECT_THAT(framework.TakeLog(), OneReport(kDecode, text, ZN_EVENTLOG_INFORMATION_TYPE));
}

TEST_F(DecodeTest, EveryFailureOfTheCommandBringsThePreviousOutputBack) {
    temp.File(L"x.mdb_bck", "previous");  // as a crash leaves it
    const auto expectFailure = [&](const std::wstring& text) {
        EXPECT_FALSE(Decode());
        EXPECT_EQ(Files(), "previous");
        EXPECT_THAT(framework.TakeLog(), OneReport(kDecode, text));
    };
    children.Script(L"exit 3");
    expectFailure(L"Decoding failed for output file T:\\x.mdb");
    children.Script(L"write T:\\x.mdb*");
    expectFailure(L"Output file T:\\x.mdb is zero length. Check that the decoder input files are compatible "
                  L"with each other.");
    children.Script(L"write T:\\x.mdb*half|await never");
    EXPECT_FALSE(Decode(L"x.mdb", 0)) << "in the middle of the output";
    EXPECT_EQ(Files(), "previous");
    EXPECT_THAT(framework.TakeLog(),
                Contains(Reported(kDecode, L"Command: " + kProgram + L"\r\nCommand timed out")));
    program = temp / L"missing.exe";
    expectFailure(L"Decoding failed for output file T:\\x.mdb");
}

TEST_F(DecodeTest, WhatOthersDoMeanwhileIsNotTakenForTheOutput) {
    temp.File(L"x.mdb", "previous");
    const auto decodeWhile = [&](std::function<void()> others) {
        children.Script(L"await T:\\go");
        const Meanwhile meanwhile([&, others = std::move(others)] {
            others();
            temp.File(L"go");
        });
        EXPECT_FALSE(Decode());
        EXPECT_EQ(Files(), "previous");
        FileSystem::TryDelete(temp / L"go");
        return framework.TakeLog();
    };
    EXPECT_THAT(decodeWhile([&] {
                    children.Script(L"");
                    std::wstring path = temp / L".\\X.MDB";
                    std::wstring ignored;
                    EXPECT_FALSE(CommonDecode(path, true, program, 60, ignored));
                }),
                ElementsAre(AllOf(Reported(kDecode), Tells(L"Another call is making the file T:\\X.MDB")),
                            Reported(kDecode, L"Decoding failed for output file T:\\x.mdb")));
    EXPECT_THAT(decodeWhile([&] { FileSystem::MoveFile(temp / L"x.mdb_bck", temp / L"x.mdb"); }),
                OneReport(kDecode,
                          L"The previous file T:\\x.mdb_bck was taken away while T:\\x.mdb was being "
                          L"made. What has that name now stays."));
}

TEST_F(DecodeTest, WhatAppearsWhileADecoderExceedsItsTimeIsKept) {
    temp.File(L"x.mdb", "previous");
    for (const wchar_t* saved : {L"an hour of edits", L"more edits"}) {
        children.Script(L"write T:\\x.mdb*" + std::wstring(saved) + L"|await never");
        EXPECT_FALSE(Decode(L"x.mdb", 1));
        EXPECT_EQ(Files(), "previous");
        EXPECT_EQ(temp.Content(L"x.mdb_late"), "an hour of edits");
        EXPECT_THAT(framework.TakeLog(), Contains(Tells(L"Command timed out")));
    }
    FileSystem::TryDelete(temp / L"x.mdb_late");
    EXPECT_FALSE(Decode(L"x.mdb", 1));
    EXPECT_THAT(framework.TakeLog(), Contains(Tells(L"is in T:\\x.mdb_late now", ZN_EVENTLOG_WARNING_TYPE)));
}

TEST_F(DecodeTest, ALogThatFailsCostsNoPreviousOutput) {
    temp.File(L"x.mdb", "previous");
    framework.logResult = HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    for (const wchar_t* steps : {L"exit 3", L"write T:\\x.mdb*", L"write T:\\x.mdb*half|await never"}) {
        children.Script(steps);
        EXPECT_EQ(FailureOf([&] { Decode(L"x.mdb", 0); }).number, framework.logResult);
        EXPECT_EQ(Files(), "previous");
    }
}

TEST_F(DecodeTest, NoProtectedFileIsDeletedAndWhatIsLeftIsTold) {
    temp.File(L"x.mdb", "previous");
    children.Script(L"write T:\\x.mdb*|protect T:\\x.mdb");
    EXPECT_FALSE(Decode());
    EXPECT_EQ(Files(), "+previous");
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(Reported(kDecode, L"Output file T:\\x.mdb is zero length. Check that the decoder "
                                              L"input files are compatible with each other."),
                            AllOf(Reported(kDecode), Tells(L"(T:\\x.mdb)\r\nThe previous content of "
                                                           L"T:\\x.mdb is in T:\\x.mdb_bck."))));

    FileSystem::TryDelete(temp / L"x.mdb");
    FileSystem::MoveFile(temp / L"x.mdb_bck", temp / L"x.mdb");
    temp.Protect(L"x.mdb");
    children.Script(L"write T:\\x.mdb*decoded");
    EXPECT_FALSE(Decode());
    EXPECT_EQ(Files(), "decoded+previous");
    EXPECT_THAT(framework.TakeLog(), OneReport(kDecode));
}

TEST_F(DecodeTest, NothingRunsWhileThePreviousOutputCannotBeMoved) {
    const auto hold = [&](const wchar_t* name) {
        return base::File::Open(temp / name, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    };
    const auto warned = [](const std::wstring& what, const wchar_t* advice) {
        return Reported(kDecode, what + advice + L"\r\n", ZN_EVENTLOG_WARNING_TYPE);
    };
    constexpr auto kAdvice =
        L" The file may be in use by another application. Please close the application and try again.";
    EXPECT_FALSE(Decode(L"a*b.mdb")) << "the system does not tell whether there is one";
    EXPECT_THAT(framework.TakeLog(), OneReport(kDecode));
    temp.File(L"x.mdb", "previous");
    const auto output = hold(L"x.mdb");
    EXPECT_FALSE(Decode());
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(warned(L"Decode output file T:\\x.mdb already exists and couldn't be renamed.",
                                   kAdvice)));
    temp.File(L"x.mdb_bck", "stale");
    const auto backup = hold(L"x.mdb_bck");
    EXPECT_FALSE(Decode());
    EXPECT_FALSE(children.WasStarted());
    EXPECT_EQ(Files(), "previous+stale");
    EXPECT_THAT(
        framework.TakeLog(),
        ElementsAre(testing::_,
                    warned(L"Existing decode backup file T:\\x.mdb_bck couldn't be deleted Will attempt",
                           L" to delete the existing output file instead."),
                    warned(L"Decode output file T:\\x.mdb already exists and couldn't be renamed or deleted.",
                           kAdvice)));
}

TEST_F(DecodeTest, NothingIsDecodedUnderTheShortNameOfAnotherFile) {
    temp.File(L"a week of work.mdb", "a week of work");
    const std::wstring name = temp.ShortName(L"a week of work.mdb");
    if (name == L"a week of work.mdb") GTEST_SKIP() << "needs a volume that keeps short names";
    temp.File(name + L"_bck", "of an earlier run");
    EXPECT_FALSE(Decode(name));
    EXPECT_FALSE(children.WasStarted());
    EXPECT_THAT(framework.TakeLog(),
                ElementsAre(AllOf(Reported(kDecode), Tells(name + L" is the short name of another file"))));
    EXPECT_EQ(temp.Content(L"a week of work.mdb"), "a week of work");
    EXPECT_TRUE(temp.Exists(name + L"_bck"));
}

TEST_F(DecodeTest, ABackupThatCannotBeDeletedCostsThePreviousOutput) {
    temp.File(L"x.mdb", "previous");
    temp.File(L"x.mdb_bck", "stale");
    children.Script(L"write T:\\x.mdb*decoded");
    {
        const auto held = base::File::Open(temp / L"x.mdb_bck", GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
        EXPECT_FALSE(Decode()) << "the backup is still in the way at the end";
    }
    EXPECT_EQ(Files(), "decoded+stale");
    EXPECT_THAT(framework.TakeLog(), ElementsAre(testing::_, testing::_, Reported(kDecode)));
    DeleteFileW((temp / L"x.mdb").c_str());
    EXPECT_TRUE(Decode()) << "as after a crash between the two steps";
    EXPECT_EQ(Files(), "decoded");
}

}  // namespace
}  // namespace tests
