// Error reports, error texts and message boxes.
#include <wrl/client.h>

#include <atomic>

#include "base/Error.h"
#include "base/Undo.h"
#include "common/Apartment.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modWinInet.h"
#include "common/modZNStartup.h"
#include "tests/win/dialogs/User.h"
#include "tests/win/support/Library.h"
#include "tests/win/support/Meanwhile.h"

namespace tests {
namespace {

/// In an apartment whose start-up ran.
class ReportTest : public PartTest {
protected:
    ReportTest() {
        Main();
        EXPECT_EQ(ThisApartment().build, L"1.2.3") << "the first three numbers of the version";
        ThisApartment().build = L"1.0.37";
    }
    ~ReportTest() override { framework.TakeLog(); }

    /// Reports a heading while a failure is handled, and returns what the report made of it.
    static std::wstring Heading(const base::Failure& failure, bool raise,
                                LONG type = ZN_EVENTLOG_ERROR_TYPE) {
        std::wstring heading = L"heading";
        std::wstring source = L"Source";
        try {
            throw base::Error(failure);
        } catch (...) {
            ZNReportError(heading, source, raise, type);
        }
        return heading;
    }
};

TEST_F(ReportTest, WithoutCurrentErrorTheTextStaysAsItIs) {
    std::wstring description = L"text";
    std::wstring source;
    ZNReportError(description, source, false, ZN_EVENTLOG_INFORMATION_TYPE);
    EXPECT_EQ(description, L"text");
    EXPECT_EQ(source, L"Unknown Source:") << "replaced for the caller too";
    EXPECT_EQ(framework.log.at(0).text, L"Unknown Source::\r\ntext");
    EXPECT_EQ(framework.log.at(0).type, ZN_EVENTLOG_INFORMATION_TYPE);
    EXPECT_EQ(FailureOf([] { ZNReportError(L"text"); }).number, static_cast<HRESULT>(0x800A0005));
}

TEST_F(ReportTest, TheCurrentErrorAddsItsLineAndTheBuild) {
    const base::Failure failure{STG_E_ACCESSDENIED, L"origin", L"cause", {120}};
    EXPECT_EQ(Heading(failure, false), L"heading\r\nError at line: 120 - Build: 1.0.37");
    EXPECT_EQ(Heading(failure, true, ZN_EVENTLOG_WARNING_TYPE), Heading(failure, false)) << "never raised";
    const auto raised = FailureOf([&] { Heading(failure, true); });
    EXPECT_EQ(raised.number, STG_E_ACCESSDENIED);
    EXPECT_EQ(raised.source, L"origin");
    EXPECT_EQ(raised.description, L"heading\r\nError at line: 120 - Build: 1.0.37");
    ThisApartment().build.clear();
    EXPECT_EQ(Heading(failure, false), L"heading\r\nError at line: 120 - Build: UNKNOWN");
    EXPECT_EQ(Heading({E_FAIL, {}, L"cause", {}}, false), L"heading") << "no line, no text about it";
}

TEST_F(ReportTest, ACallThatComesInMeanwhileHasErrorsOfItsOwn) {
    HRESULT raised = S_OK;
    framework.onLog = [&, entered = false]() mutable {
        if (std::exchange(entered, true)) return;
        raised = com::Call([] { ZNReportError(L"without an error"); });
        com::Call([] { Heading({E_FAIL, {}, L"inner", {7}}, false); });
    };
    EXPECT_EQ(Heading({E_ABORT, {}, L"outer", {120}}, false),
              L"heading\r\nError at line: 120 - Build: 1.0.37");
    EXPECT_EQ(raised, static_cast<HRESULT>(0x800A0005));
    EXPECT_EQ(framework.log.at(0).text, L"Unknown Source::\r\nwithout an error");
    EXPECT_EQ(framework.log.at(1).text, L"Source:\r\nheading\r\nError at line: 7 - Build: 1.0.37");
}

TEST_F(ReportTest, AFailureThatIsRaisedAgainTellsItsLineOnce) {
    const Procedure member(L"clsX.cls.Member");
    EXPECT_EQ(member.Guard(42, [] { return GetProperty(nullptr, L"NAME", L"").empty() ? 1 : 2; }), 42);
    const std::wstring first = framework.log.at(0).text.substr(std::wstring(L"Test Tool:\r\n").size());
    EXPECT_THAT(first, HasSubstr(L"\r\nError at line: "));
    EXPECT_THAT(framework.log, ElementsAre(Reported(L"modMain.GetProperty"), Reported(member.Name(), first)));
}

TEST(Undo, AFailureOfItIsToldBesideTheOneThatLedToIt) {
    const auto step = [] { base::ThrowWin32(ERROR_DISK_FULL, L"a -> b"); };
    const auto failureWith = [&](const std::function<void()>& undo) {
        return FailureOf([&] { base::DoOrUndo(step, undo, L"Its content is in c."); });
    };
    bool undone = false;
    const std::wstring alone = failureWith([&] { undone = true; }).description;
    EXPECT_TRUE(undone);
    EXPECT_THAT(alone, EndsWith(L"(a -> b)"));
    const auto both = failureWith([] { throw base::Error(E_ABORT, L"c is in use."); });
    EXPECT_EQ(both.number, HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_EQ(both.description,
              alone + L"\r\nWhat came before could not be undone: c is in use.\r\nIts content is in c.");
    EXPECT_EQ(base::DoOrUndo([] { return 42; }, [&] { undone = false; }, L""), 42);
    EXPECT_TRUE(undone);
}

TEST_F(ReportTest, AFailingEventLogSurfaces) {
    framework.logResult = E_ACCESSDENIED;
    EXPECT_EQ(FailureOf([] { Report(L"text"); }).number, E_ACCESSDENIED);
}

TEST_F(ReportTest, AHandledFailureDoesNotDescribeALaterOne) {
    framework.onLog = [] { com::Call([] { throw base::Error(E_FAIL, L"handled by the host"); }); };
    Report(L"text");
    framework.onLog = [] {};
    framework.logResult = E_ACCESSDENIED;
    EXPECT_THAT(FailureOf([] { Report(L"text"); }).description, EndsWith(L"(writing to the event log)"));
}

TEST_F(ReportTest, MessageBoxesAreRefusedWithoutUserInterface) {
    base::Failure failure;
    for (int i = 0; i < 2; ++i)
        failure = FailureOf([] { ZNMsgBox(L"May I?", MB_OK, L"Title"); });
    EXPECT_EQ(failure.number, -1);
    EXPECT_EQ(failure.source, L"modZNStartup.ZNMsgBox");
    EXPECT_EQ(failure.description,
              L"Attempted to raise a messagebox and a user interface is not supported.\r\nMessage: May I?");
    EXPECT_EQ(framework.userInterfaceQuestions, 1);
}

TEST_F(ReportTest, AHostThatCannotTellIsAskedAgain) {
    framework.userInterfaceResult = E_ACCESSDENIED;
    EXPECT_FALSE(UserInterfaceIsAllowed());
    EXPECT_THAT(framework.log.at(0).text,
                AllOf(StartsWith(L"UserInterfaceIsAllowed: Starup Error [unexpected]: "),
                      EndsWith(L"Source: library_tests")));
    framework.userInterfaceResult = S_OK;
    framework.userInterface = true;
    EXPECT_TRUE(UserInterfaceIsAllowed());
    EXPECT_TRUE(UserInterfaceIsAllowed());
    EXPECT_EQ(framework.userInterfaceQuestions, 2);
}

HICON IconOf(const Screen& box) {
    for (HWND child = GetWindow(box.Handle(), GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        if ((GetWindowLongW(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON)
            return reinterpret_cast<HICON>(SendMessageW(child, STM_GETICON, 0, 0));
    return nullptr;
}

TEST_F(ReportTest, MessageBoxesAreShownAsAskedForAndReturnTheButton) {
    framework.userInterface = true;
    const User user(L"Box of the test", [](const Screen& box) {
        EXPECT_EQ(box.Message(), L"Go on?");
        EXPECT_EQ(IconOf(box), LoadIconW(nullptr, IDI_WARNING));
        EXPECT_TRUE(box.Control(IDYES));
        box.Click(IDNO);
    });
    EXPECT_EQ(ZNMsgBox(L"Go on?", MB_YESNO | MB_ICONWARNING, L"Box of the test"), IDNO);
}

TEST_F(ReportTest, WhatFailsWhileABoxIsShownDescribesNoLaterFailure) {
    framework.userInterface = true;
    std::atomic<bool> failed = false;
    const Meanwhile meanwhile([&] {
        com::Call([] { throw base::Error(E_FAIL, L"while a box was shown"); });
        failed = true;
    });
    const User user(L"Box of the test", [&](const Screen& box) {
        EXPECT_TRUE(Eventually([&] { return failed.load(); }));
        box.Confirm();
    });
    ZNMsgBox(L"Look", MB_OK, L"Box of the test");
    Microsoft::WRL::ComPtr<IErrorInfo> left;
    EXPECT_EQ(GetErrorInfo(0, &left), S_FALSE);
}

TEST_F(ReportTest, ABoxAboutAFolderInformsUnderTheToolsName) {
    framework.userInterface = true;
    const std::wstring path = temp.File(L"file");
    const User user(L"Test Tool", [&](const Screen& box) {
        EXPECT_EQ(box.Message(), L"Could not create folder " + path);
        EXPECT_EQ(IconOf(box), LoadIconW(nullptr, IDI_INFORMATION));
        box.Confirm();
    });
    EXPECT_FALSE(CreateFolders(path + L"\\sub", false));
}

TEST(ErrorText, GivesTheSystemsTextAndTheNumbers) {
    EXPECT_THAT(ErrorText(ERROR_ACCESS_DENIED),
                AllOf(StartsWith(L"Access"), EndsWith(L"\r\nDec: 5\tHex: 5")));
    EXPECT_EQ(ErrorText(12029), L"(No such error)\r\n\r\nDec: 12029\tHex: 2EFD");
    EXPECT_THAT(ErrorText(0xFFFFFFF0u), EndsWith(L"Dec: -16\tHex: FFFFFFF0"));
}

}  // namespace
}  // namespace tests
