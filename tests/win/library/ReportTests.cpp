// Error reports, error texts and message boxes.
#include <gmock/gmock.h>

#include <functional>
#include <thread>

#include "base/Error.h"
#include "common/Apartment.h"
#include "common/Report.h"
#include "common/modWinInet.h"
#include "common/modZNStartup.h"
#include "tests/win/support/Library.h"

namespace tests {
namespace {

using testing::EndsWith;
using testing::StartsWith;

/// The module's procedures, in an apartment whose start-up ran.
class ReportTest : public testing::Test {
protected:
    ReportTest() {
        znMain();
        ThisApartment().gk_sToolName = L"Tool";
        ThisApartment().build = L"1.0.37";
    }

    ComApartment apartment;
    Framework framework;
};

base::Failure Caught(const std::function<void()>& action) {
    try {
        action();
    } catch (const base::Error& error) {
        return error.failure();
    }
    return {S_OK, {}, L"(nothing was thrown)", 0};
}

TEST_F(ReportTest, WithoutCurrentErrorTheTextStaysAsItIs) {
    std::wstring description = L"what happened";
    std::wstring source = L"Source";
    ZNReportError(description, source, false, ZN_EVENTLOG_INFORMATION_TYPE);
    EXPECT_EQ(description, L"what happened");
    EXPECT_EQ(framework.log.at(0).text, L"Source:\r\nwhat happened");
    EXPECT_EQ(framework.log.at(0).type, ZN_EVENTLOG_INFORMATION_TYPE);
}

TEST_F(ReportTest, AnEmptySourceIsReplacedForTheCallerToo) {
    std::wstring description = L"text";
    std::wstring source;
    ZNReportError(description, source, false);
    EXPECT_EQ(source, L"Unknown Source:");
    EXPECT_EQ(framework.log.at(0).text, L"Unknown Source::\r\ntext");
}

TEST_F(ReportTest, TheCurrentErrorAddsItsLineAndTheBuild) {
    for (const auto& [build, shown] : {std::pair{L"1.0.37", L"1.0.37"}, {L"", L"UNKNOWN"}}) {
        ThisApartment().build = build;
        try {
            throw base::Error(base::Failure{E_FAIL, L"origin", L"cause", 120});
        } catch (...) {
            std::wstring description = L"heading";
            std::wstring source = L"Source";
            ZNReportError(description, source, false);
            EXPECT_EQ(description, L"heading\r\nError at line: 120 - Build: " + std::wstring(shown));
        }
    }
}

TEST_F(ReportTest, AGuardReportsAndHandsOutTheDefault) {
    const Procedure self(L"unit.Proc");
    EXPECT_EQ(self.Guard(42, []() -> int { throw base::Error(base::Failure{E_FAIL, {}, L"cause", 0}); }), 42);
    EXPECT_EQ(framework.log.at(0).text, L"Tool:\r\nunit.Proc\r\ncause") << "no line number, no line text";
}

TEST_F(ReportTest, RaisesTheCurrentErrorAgainWithTheDecoratedText) {
    const auto failure = Caught([] {
        try {
            throw base::Error(base::Failure{STG_E_ACCESSDENIED, L"origin", L"cause", 7});
        } catch (...) {
            std::wstring description = L"heading";
            std::wstring source = L"Source";
            ZNReportError(description, source);
        }
    });
    EXPECT_EQ(failure.number, STG_E_ACCESSDENIED);
    EXPECT_EQ(failure.source, L"origin");
    EXPECT_EQ(failure.description, L"heading\r\nError at line: 7 - Build: 1.0.37");
}

TEST_F(ReportTest, WarningsAreNeverRaised) {
    try {
        throw base::Error(E_FAIL, L"cause");
    } catch (...) {
        std::wstring description = L"heading";
        std::wstring source = L"Source";
        EXPECT_NO_THROW(ZNReportError(description, source, true, ZN_EVENTLOG_WARNING_TYPE));
    }
    EXPECT_EQ(framework.log.at(0).type, ZN_EVENTLOG_WARNING_TYPE);
}

TEST_F(ReportTest, RaisingWithoutCurrentErrorIsAnInvalidCall) {
    const auto failure = Caught([] { ZNReportError(L"text"); });
    EXPECT_EQ(failure.number, static_cast<HRESULT>(0x800A0005));
    EXPECT_EQ(framework.log.at(0).text, L"Unknown Source::\r\ntext");
}

TEST_F(ReportTest, AFailingEventLogSurfaces) {
    framework.logResult = E_ACCESSDENIED;
    EXPECT_EQ(Caught([] { Report(L"text"); }).number, E_ACCESSDENIED);
}

TEST_F(ReportTest, MessageBoxesAreRefusedWithoutUserInterface) {
    const auto failure = Caught([] { ZNMsgBox(L"May I?", MB_OK, L"Title"); });
    EXPECT_EQ(failure.number, -1);
    EXPECT_EQ(failure.source, L"modZNStartup.ZNMsgBox");
    EXPECT_EQ(failure.description,
              L"Attempted to raise a messagebox and a user interface is not supported.\r\nMessage: May I?");
    Caught([] { ZNMsgBox(L"Again?", MB_OK, L"Title"); });
    EXPECT_EQ(framework.userInterfaceQuestions, 1);
}

TEST_F(ReportTest, AHostThatCannotTellIsAskedAgain) {
    framework.userInterfaceResult = E_ACCESSDENIED;
    EXPECT_FALSE(UserInterfaceIsAllowed());
    EXPECT_THAT(framework.log.at(0).text, StartsWith(L"UserInterfaceIsAllowed: Starup Error [unexpected]: "));
    EXPECT_THAT(framework.log.at(0).text, EndsWith(L"Source: library_tests"));
    framework.userInterfaceResult = S_OK;
    framework.userInterface = true;
    EXPECT_TRUE(UserInterfaceIsAllowed());
    EXPECT_TRUE(UserInterfaceIsAllowed());
    EXPECT_EQ(framework.userInterfaceQuestions, 2);
}

/// Presses a button of the message box with this title, as a user would.
void Press(const wchar_t* title, int button) {
    for (int i = 0; i < 200; ++i) {
        if (const HWND box = FindWindowW(nullptr, title)) {
            PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
            return;
        }
        Sleep(50);
    }
}

TEST_F(ReportTest, MessageBoxesReturnTheButtonThatWasPressed) {
    framework.userInterface = true;
    framework.rightToLeft = true;
    std::thread user([] { Press(L"Box of the test", IDNO); });
    EXPECT_EQ(ZNMsgBox(L"Go on?", MB_YESNO, L"Box of the test"), IDNO);
    user.join();
}

TEST(ErrorText, GivesTheSystemsTextAndTheNumbers) {
    EXPECT_THAT(ErrorText(ERROR_ACCESS_DENIED), EndsWith(L"\r\nDec: 5\tHex: 5"));
    EXPECT_THAT(ErrorText(ERROR_ACCESS_DENIED), StartsWith(L"Access"));
    EXPECT_EQ(ErrorText(12029), L"(No such error)\r\n\r\nDec: 12029\tHex: 2EFD");
    EXPECT_THAT(ErrorText(0xFFFFFFF0u), EndsWith(L"Dec: -16\tHex: FFFFFFF0"));
}

}  // namespace
}  // namespace tests
