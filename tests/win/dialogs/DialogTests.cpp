// The dialogs, answered as a user would.
#include "common/Apartment.h"
#include "ftp/settings/AdminXml.h"
#include "ftp/settings/FtpPassword.h"
#include "mobile/frmFTP.h"
#include "mobile/frmFTPControls.h"
#include "sendrecv/frmPromptFTP.h"
#include "sendrecv/frmPromptFTPControls.h"
#include "tests/win/dialogs/ProductTexts.h"
#include "tests/win/dialogs/User.h"
#include "tests/win/library/FtpTest.h"
#include "tests/win/support/CurrentFolder.h"

namespace tests {
namespace {

constexpr int kServer = IDC_FTP_TEXT;
constexpr int kUser = IDC_FTP_TEXT + 1;
constexpr int kPassword = IDC_FTP_TEXT + 2;
constexpr int kEnterpriseToField = IDC_FTP_TEXT + 3;
constexpr int kFieldToEnterprise = IDC_FTP_TEXT + 4;

class DialogTest : public PartTest {
protected:
    DialogTest() {
        Main();
        TakeProductTexts(framework);
        framework.userInterface = true;
    }

    FtpScript server;
};

class FtpPropertiesTest : public DialogTest {
protected:
    void Show(const std::function<void(const Screen&)>& script) {
        const User user(L"FTP Properties", script);
        end = dialog.Execute(3, site);
    }
    /// What the dialog's document holds.
    FtpSite Document() const {
        FtpSite settings;
        const auto document = dialog.GetXML();
        if (document) AdminXml::ReadSettings(document.Get(), settings);
        return settings;
    }

    CurrentFolder current;  ///< takes the test file of a verified site
    frmFTP dialog;
    ZNDialogEnd end = ZN_DIALOG_FAILED;
    FtpSite site{L"host", L"joe", FtpPassword::Encipher(L"secret"), L"out", L"in"};
    const FtpSite before = site;
};

TEST_F(FtpPropertiesTest, ShowsTheSettingsUnderTheProductsCaptions) {
    Show([](const Screen& screen) {
        EXPECT_EQ(screen.Text(kServer), L"host");
        EXPECT_EQ(screen.Text(kUser), L"joe");
        EXPECT_EQ(screen.Text(kPassword), L"secret");
        EXPECT_EQ(SendMessageW(screen.Control(kPassword), EM_GETPASSWORDCHAR, 0, 0), L'*');
        EXPECT_EQ(screen.Text(kEnterpriseToField), L"out");
        EXPECT_EQ(screen.Text(kFieldToEnterprise), L"in");
        EXPECT_TRUE(screen.IsChecked(IDC_FTP_VERIFY_ON_APPLY));
        EXPECT_TRUE(screen.IsEnabled(IDC_FTP_APPLY));
        for (const auto& [box, longest] : {std::pair{kServer, 255},
                                           {kUser, 128},
                                           {kPassword, 128},
                                           {kEnterpriseToField, 259},
                                           {kFieldToEnterprise, 259}})
            EXPECT_EQ(SendMessageW(screen.Control(box), EM_GETLIMITTEXT, 0, 0), longest);
        for (HWND control = GetWindow(screen.Handle(), GW_CHILD); control;
             control = GetWindow(control, GW_HWNDNEXT))
            EXPECT_FALSE(Screen(control).Caption().starts_with(L"XX")) << GetDlgCtrlID(control);
    });
}

TEST_F(FtpPropertiesTest, APasswordThatCannotBeDecipheredIsReportedAndAskedFor) {
    site.password = std::wstring(64, L'A');
    Show([](const Screen& screen) {
        EXPECT_EQ(screen.Text(kPassword), L"");
        EXPECT_TRUE(screen.FocusReaches(kPassword));
        screen.Key(VK_ESCAPE);
        screen.AwaitEnd();
    });
    EXPECT_THAT(
        framework.TakeLog(),
        OneReport(L"frmFTP.frm.Execute", L"The stored FTP password cannot be deciphered. Enter it anew."));
}

TEST_F(FtpPropertiesTest, KeysReachAllControlsInReadingOrderAndByTheirLetters) {
    Show([](const Screen& screen) {
        for (const int control : {kServer, kUser, kPassword, kEnterpriseToField, kFieldToEnterprise,
                                  IDC_FTP_VERIFY_ON_APPLY, IDC_FTP_VERIFY, IDC_FTP_APPLY, IDC_FTP_CANCEL}) {
            EXPECT_TRUE(screen.FocusReaches(control));
            screen.Key(VK_TAB);
        }
        EXPECT_TRUE(screen.FocusReaches(kServer));
        for (const auto& [letter, control] : {std::pair{L'f', kFieldToEnterprise},
                                              {L'e', kEnterpriseToField},
                                              {L'p', kPassword},
                                              {L'u', kUser},
                                              {L's', kServer},
                                              {L'w', IDC_FTP_VERIFY_ON_APPLY}}) {
            screen.Mnemonic(letter);
            EXPECT_TRUE(screen.FocusReaches(control));
        }
        EXPECT_TRUE(Eventually([&] { return !screen.IsChecked(IDC_FTP_VERIFY_ON_APPLY); }));
    });
}

TEST_F(FtpPropertiesTest, ApplyWaitsUntilNoBoxIsBlank) {
    site = {};
    Show([](const Screen& screen) {
        for (const int box : {kServer, kPassword, kEnterpriseToField, kFieldToEnterprise}) {
            screen.Type(box, L"x");
            EXPECT_FALSE(screen.IsEnabled(IDC_FTP_APPLY));
        }
        screen.Type(kUser, L"  ");
        EXPECT_FALSE(screen.IsEnabled(IDC_FTP_APPLY));
        screen.Type(kUser, L" j");
        EXPECT_TRUE(screen.IsEnabled(IDC_FTP_APPLY));
        screen.Type(kServer, L"");
        EXPECT_FALSE(screen.IsEnabled(IDC_FTP_APPLY));
        screen.Key(VK_RETURN);
        screen.Key(VK_TAB);
        EXPECT_TRUE(screen.FocusReaches(kUser)) << "Enter did nothing";
    });
    EXPECT_EQ(dialog.GetXML(), nullptr);
}

TEST_F(FtpPropertiesTest, EnterAppliesWithoutTheServerWhereTheUserDoesNotWantTheTest) {
    Show([](const Screen& screen) {
        screen.Type(kServer, L"other");
        screen.Type(kUser, L"ann");
        screen.Type(kPassword, L"Größe");
        screen.Type(kEnterpriseToField, L"down");
        screen.Type(kFieldToEnterprise, L" up");
        screen.Mnemonic(L'w');
        screen.Confirm();
    });
    EXPECT_EQ(site, (FtpSite{L"other", L"ann", FtpPassword::Encipher(L"Größe"), L"down", L" up"}));
    EXPECT_EQ(Document(), site);
    EXPECT_EQ(end, ZN_DIALOG_APPLIED);
    EXPECT_THAT(server.logins, IsEmpty());
}

TEST_F(FtpPropertiesTest, AFailedApplyNamesTheFaultAndKeepsTheDialog) {
    Show([](const Screen& screen) {
        screen.Type(kFieldToEnterprise, L" out ");
        screen.Key(VK_RETURN);
        const Screen message = screen.Popup();
        EXPECT_EQ(message.Caption(), L"FTP Properties");
        EXPECT_THAT(message.Message(), HasSubstr(L"must not be the same"));
        message.Confirm();
        EXPECT_EQ(screen.Text(kFieldToEnterprise), L" out ");
        EXPECT_TRUE(screen.FocusReaches(kFieldToEnterprise)) << "which is to blame";
        screen.Mnemonic(L'w');
        for (const auto& [name, text] :
             {std::pair{L"up\x1", L"The field-to-enterprise folder holds a control"},
              {L"up\xFFFF", L"The settings cannot be stored as a document"}}) {
            SetWindowTextW(screen.Control(kFieldToEnterprise), name);
            screen.Key(VK_RETURN);
            const Screen refusal = screen.Popup();
            EXPECT_THAT(refusal.Message(), StartsWith(text));
            refusal.Confirm();
            EXPECT_EQ(screen.Text(kFieldToEnterprise), name);
        }
        screen.Key(VK_ESCAPE);
        screen.AwaitEnd();
    });
    EXPECT_EQ(end, ZN_DIALOG_CANCELLED);
    EXPECT_EQ(site, before);
    EXPECT_FALSE(dialog.GetXML()) << "the last Apply came to none";
    EXPECT_THAT(framework.TakeLog(),
                OneReport(L"modMobileAdminXML.GenerateFTPXML",
                          L"The value of KeyValue holds characters that XML does not allow.\r\n"));
}

TEST_F(FtpPropertiesTest, ApplyTestsTheSiteWhereTheUserWantsIt) {
    Show([](const Screen& screen) { screen.Confirm(); });
    EXPECT_THAT(server.folders, ElementsAre("/", "/in", "/out"));
    EXPECT_EQ(Document(), before);
}

TEST_F(FtpPropertiesTest, TheSiteCanBeVerifiedAtAnyTime) {
    server.Fail("Connect", {ERROR_INTERNET_NAME_NOT_RESOLVED});
    server.afterPut = [] {
        const Screen busy(GetActiveWindow());
        EXPECT_EQ(busy.Caption(), L"FTP Properties - testing the site, please wait");
        for (const int button : {IDC_FTP_VERIFY, IDC_FTP_APPLY, IDC_FTP_CANCEL})
            EXPECT_FALSE(busy.IsEnabled(button));
        // Typed before there is anything to answer.
        keybd_event(VK_ESCAPE, 0, 0, 0);
        keybd_event(VK_ESCAPE, 0, KEYEVENTF_KEYUP, 0);
    };
    Show([](const Screen& screen) {
        for (const wchar_t* text :
             {L"The FTP server cannot be found.\r\n\tThe name of the server cannot be resolved.",
              L"The FTP site was verified.\r\nA test file was sent to both folders, fetched"}) {
            screen.Mnemonic(L'v');
            const Screen message = screen.Popup();
            EXPECT_THAT(message.Message(), StartsWith(text));
            message.Confirm();
            EXPECT_EQ(screen.Caption(), L"FTP Properties");
            EXPECT_TRUE(screen.IsEnabled(IDC_FTP_APPLY));
        }
        screen.Click(IDC_FTP_CANCEL);
        screen.AwaitEnd();
    });
}

TEST_F(FtpPropertiesTest, ADialogThatCannotBeShownIsCancelledAtOnceWithAReport) {
    framework.resources.erase(136);
    EXPECT_EQ(dialog.Execute(3, site), ZN_DIALOG_FAILED);
    framework.userInterface = false;
    ThisApartment().userInterfaceAllowed.reset();
    EXPECT_EQ(dialog.Execute(3, site), ZN_DIALOG_FAILED);
    EXPECT_THAT(
        framework.TakeLog(),
        ElementsAre(Field(&LogEntry::text, StartsWith(L"Test Tool:\r\nfrmFTP.frm.Execute\r\n")),
                    Reported(L"frmFTP.frm.Show", L"Attempted to show the dialog frmFTP and a user interface "
                                                 L"is not supported.")));
    EXPECT_EQ(site, before);
    EXPECT_EQ(Document(), before);
}

TEST_F(DialogTest, TheLoginPromptStartsInTheFirstEmptyBoxAndVisitsAllControls) {
    frmPromptFTP prompt;
    const std::array<int, 6> controls = {
        IDC_PROMPT_SERVER, IDC_PROMPT_USER, IDC_PROMPT_PASSWORD, IDC_PROMPT_SAVE, IDOK, IDCANCEL};
    for (size_t first = 0; first < 3; ++first) {
        const User user(L"FTP Prompt", [&](const Screen& screen) {
            EXPECT_EQ(screen.IsChecked(IDC_PROMPT_SAVE), first != 0) << "as it was left";
            for (const auto& [box, longest] :
                 {std::pair{IDC_PROMPT_SERVER, 255}, {IDC_PROMPT_USER, 128}, {IDC_PROMPT_PASSWORD, 128}})
                EXPECT_EQ(SendMessageW(screen.Control(box), EM_GETLIMITTEXT, 0, 0), longest);
            for (size_t i = 0; i < controls.size(); ++i) {
                EXPECT_TRUE(screen.FocusReaches(controls[(first + i) % controls.size()]));
                screen.Key(VK_TAB);
            }
            screen.Type(controls[first], L"x");
            if (first == 0) screen.Mnemonic(L'l');
            EXPECT_TRUE(Eventually([&] { return screen.IsChecked(IDC_PROMPT_SAVE); }));
            screen.Confirm();
        });
        EXPECT_TRUE(prompt.Show());
    }
    EXPECT_EQ(prompt.txtServer + prompt.txtUser + prompt.txtPassword, L"xxx");
}

/// The sender/receiver that asks for its login: server "host" and user "joe" are known, the password is not.
class LoginTest : public FtpTest {
protected:
    LoginTest() {
        TakeProductTexts(framework);
        framework.userInterface = true;
        Configure();
        NameApplication();
        Init({{L"FTPPassword", L""}});
        temp.File(L"send\\a.mdb");
        server.folders.insert("/out");
        server.files["/out/b.mdb"] = "b";
    }
    ~LoginTest() override {
        EXPECT_EQ(server.files.size() + temp.Files(L"send").size(), 2u) << "nothing moves";
    }

    static void Enter(const Screen& prompt, const wchar_t* user, const wchar_t* password) {
        prompt.Type(IDC_PROMPT_USER, user);
        prompt.Type(IDC_PROMPT_PASSWORD, password);
        prompt.Confirm();
    }
    /// Reads the message box that follows a prompt, and returns the next prompt.
    static Screen NextPrompt(const std::wstring& text) {
        const Screen message = Screen::Await(L"Test Tool");
        EXPECT_EQ(message.Message(), text);
        message.Confirm();
        return Screen::Await(L"FTP Prompt");
    }
};

TEST_F(LoginTest, TheUserIsAskedUntilALoginWorksAndMaySaveIt) {
    server.Fail("Connect", {ERROR_INTERNET_CANNOT_CONNECT});
    const User user(L"FTP Prompt", [&](const Screen& prompt) {
        EXPECT_EQ(prompt.Text(IDC_PROMPT_SERVER) + L"," + prompt.Text(IDC_PROMPT_USER), L"host,joe");
        prompt.Confirm();
        const Screen second = NextPrompt(framework.resources[143]);
        EXPECT_THAT(server.logins, IsEmpty()) << "no connection without a password";
        Enter(second, L"ann", L"wrong");
        const Screen third = NextPrompt(framework.resources[144]);
        EXPECT_EQ(third.Text(IDC_PROMPT_USER), L"ann");
        EXPECT_TRUE(third.FocusReaches(IDC_PROMPT_PASSWORD)) << "the server can be read";
        SendMessageW(third.Control(IDC_PROMPT_SAVE), BM_CLICK, 0, 0);
        Enter(third, L"ann", L"right");
    });
    EXPECT_TRUE(Connect());
    EXPECT_EQ(server.logins.back(), "Test Tool: ann:right@host");
    EXPECT_FALSE(LoginCancelled());
    EXPECT_THAT(PropSet(), StartsWith(L"FTP_SERVER=host\nFTP_USER=ann\nFTP_PASSWORD=right\n"));
    EXPECT_EQ(framework.registry[L"13/Transport/FTPServer"], L"host");
    EXPECT_EQ(framework.registry[L"13/Transport/FTPUser"], L"ann");
    EXPECT_EQ(framework.registry[L"13/Transport/FTPPassword"], FtpPassword::EncipherBytes(L"right"));
}

TEST_F(LoginTest, ALoginThatCannotBeSavedIsToldAndConnects) {
    framework.registry[L"13/Transport/FTPServer"] = L"older";
    for (const wchar_t* const saved : {L"older", L""}) {
        Init({{L"FTPPassword", L""}});
        framework.unwritable = L"13/Transport/FTPPassword";
        const User user(L"FTP Prompt", [&](const Screen& prompt) {
            SendMessageW(prompt.Control(IDC_PROMPT_SAVE), BM_CLICK, 0, 0);
            Enter(prompt, L"ann", L"right");
            const Screen message = Screen::Await(L"Test Tool");
            EXPECT_THAT(message.Message(), StartsWith(L"The login works, but could not be saved."));
            message.Confirm();
        });
        EXPECT_TRUE(Connect());
        EXPECT_THAT(framework.TakeLogText(), HasSubstr(L"clsFTPSndRcv.cls.ConnectAndSaveLogin"));
        EXPECT_EQ(framework.registry[L"13/Transport/FTPServer"], saved) << "with another one's password";
        Disconnect();
        framework.afterRefusal = [&] { framework.unwritable = L"13/Transport/FTPUser"; };
    }
}

TEST_F(LoginTest, ACancelledLoginEndsTheCycleQuietly) {
    server.Fail("Connect", {ERROR_INTERNET_CANNOT_CONNECT});
    for (const auto& transfer :
         {std::function([&] { return Send(); }), std::function([&] { return Receive(); })}) {
        const User user(L"FTP Prompt", [&](const Screen& prompt) {
            Screen last = prompt;
            if (!server.failures["Connect"].empty()) {
                Enter(prompt, L"ann", L"wrong");
                last = NextPrompt(framework.resources[144]);
            }
            last.Key(VK_ESCAPE);
            last.AwaitEnd();
        });
        EXPECT_TRUE(transfer());
        EXPECT_TRUE(LoginCancelled());
        EXPECT_THAT(PropSet(), StartsWith(L"FTP_SERVER=host\nFTP_USER=joe\nFTP_PASSWORD=\n"));
    }
    EXPECT_TRUE(framework.registry.empty());
}

TEST_F(LoginTest, APromptThatFailsLeavesThePreviousLogin) {
    framework.resources.erase(143);
    server.Fail("Connect", {ERROR_INTERNET_CANNOT_CONNECT});
    const User user(L"FTP Prompt", [&](const Screen& prompt) {
        Enter(prompt, L"ann", L"wrong");
        Enter(NextPrompt(framework.resources[144]), L"ann", L"");
    });
    EXPECT_FALSE(Send());
    EXPECT_THAT(framework.TakeLogText(), HasSubstr(L"clsFTPSndRcv.cls.InternalOpenConnection"));
    EXPECT_FALSE(LoginCancelled());
    EXPECT_THAT(PropSet(), StartsWith(L"FTP_SERVER=host\nFTP_USER=joe\nFTP_PASSWORD=\n"));
}

}  // namespace
}  // namespace tests
