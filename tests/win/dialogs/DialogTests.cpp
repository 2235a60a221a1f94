// The dialogs, answered as a user would.
#include <gmock/gmock.h>

#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/modMain.h"
#include "ftp/settings/FtpPassword.h"
#include "mobile/frmFTP.h"
#include "mobile/frmFTPControls.h"
#include "sendrecv/frmPromptFTP.h"
#include "sendrecv/frmPromptFTPControls.h"
#include "tests/win/dialogs/ProductTexts.h"
#include "tests/win/dialogs/User.h"
#include "tests/win/library/FtpTest.h"
#include "tests/win/support/CurrentFolder.h"
#include "tests/win/support/FtpScript.h"
#include "tests/win/support/Library.h"

namespace tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr int kServer = IDC_FTP_TEXT;
constexpr int kUser = IDC_FTP_TEXT + 1;
constexpr int kPassword = IDC_FTP_TEXT + 2;
constexpr int kEnterpriseToField = IDC_FTP_TEXT + 3;
constexpr int kFieldToEnterprise = IDC_FTP_TEXT + 4;

class DialogTest : public testing::Test {
protected:
    DialogTest() {
        TakeProductTexts(framework);
        framework.userInterface = true;
        Main();
    }

    ComApartment apartment;
    Framework framework;
    FtpScript server;
    CurrentFolder current;  ///< takes the test file of a verified site
};

class FtpPropertiesTest : public DialogTest {
protected:
    void Show(const std::function<void(const Screen&)>& script) {
        const User user(L"FTP Properties", script);
        Execute();
    }
    void Execute() { dialog.Execute(3, out, in, host, name, password); }
    /// "name=value" of each setting in the dialog's document.
    std::vector<std::wstring> Settings() const {
        const auto document = dialog.GetXML();
        if (!document) return {L"no document"};
        Microsoft::WRL::ComPtr<IXMLDOMNodeList> nodes;
        com::Check(document->selectNodes(com::Bstr(L"//SETTING").Get(), &nodes));
        std::vector<std::wstring> settings;
        Microsoft::WRL::ComPtr<IXMLDOMNode> node;
        while (nodes->nextNode(&node) == S_OK) {
            settings.push_back(Attribute(node.Get(), L"@KeyName") + L"=" +
                               Attribute(node.Get(), L"@KeyValue"));
            node.Reset();
        }
        return settings;
    }

    frmFTP dialog;
    std::wstring host = L"host";
    std::wstring name = L"joe";
    std::wstring password = kSecret;
    std::wstring out = L"out";
    std::wstring in = L"in";

    /// "secret" enciphered with the built-in password
    inline static const std::wstring kSecret = FtpPassword::Encipher(L"secret");

private:
    static std::wstring Attribute(IXMLDOMNode* node, const wchar_t* path) {
        Microsoft::WRL::ComPtr<IXMLDOMNode> attribute;
        com::Check(node->selectSingleNode(com::Bstr(path).Get(), &attribute));
        return com::Get<std::wstring>(&IXMLDOMNode::get_text, attribute.Get());
    }
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
        for (HWND control = GetWindow(screen.Handle(), GW_CHILD); control;
             control = GetWindow(control, GW_HWNDNEXT))
            EXPECT_FALSE(Screen(control).Caption().starts_with(L"XX")) << GetDlgCtrlID(control);
    });
}

TEST_F(FtpPropertiesTest, TheTabKeyVisitsAllControlsInReadingOrder) {
    Show([](const Screen& screen) {
        for (const int control : {kServer, kUser, kPassword, kEnterpriseToField, kFieldToEnterprise,
                                  IDC_FTP_VERIFY_ON_APPLY, IDC_FTP_VERIFY, IDC_FTP_APPLY, IDC_FTP_CANCEL}) {
            EXPECT_TRUE(screen.FocusReaches(control));
            screen.Key(VK_TAB);
        }
        EXPECT_TRUE(screen.FocusReaches(kServer));
    });
}

TEST_F(FtpPropertiesTest, MnemonicsReachEveryBox) {
    Show([](const Screen& screen) {
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
    host = name = password = out = in = L"";
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
    EXPECT_THAT(Settings(), ElementsAre(L"no document"));
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
    const std::wstring enciphered = FtpPassword::Encipher(L"Größe");
    EXPECT_THAT(Settings(), ElementsAre(L"FTPServer=other", L"FTPUser=ann", L"FTPPassword=" + enciphered,
                                        L"FTPEnterpriseToField=down", L"FTPFieldtoEnterprise= up"));
    EXPECT_EQ(host + L"," + name + L"," + password + L"," + out + L"," + in,
              L"other,ann," + enciphered + L",down, up");
    EXPECT_EQ(server.transcript, "");
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
        screen.Key(VK_ESCAPE);
        screen.AwaitEnd();
    });
    EXPECT_EQ(in, L"in");
    EXPECT_THAT(Settings(), testing::Contains(L"FTPFieldtoEnterprise=in")) << "as before";
}

TEST_F(FtpPropertiesTest, ApplyTestsTheSiteWhereTheUserWantsIt) {
    Show([](const Screen& screen) { screen.Confirm(); });
    EXPECT_THAT(server.folders, ElementsAre("/", "/in", "/out"));
    EXPECT_THAT(Settings(), testing::Contains(L"FTPPassword=" + kSecret));
}

TEST_F(FtpPropertiesTest, TheSiteCanBeVerifiedAtAnyTime) {
    server.Fail("Connect", {ERROR_INTERNET_NAME_NOT_RESOLVED});
    Show([](const Screen& screen) {
        for (const wchar_t* text :
             {L"The FTP server cannot be found.\r\n\tThe name of the server cannot be resolved.",
              L"The FTP site was verified"}) {
            screen.Mnemonic(L'v');
            const Screen message = screen.Popup();
            EXPECT_THAT(message.Message(), testing::StartsWith(text));
            message.Confirm();
        }
        screen.Click(IDC_FTP_CANCEL);
        screen.AwaitEnd();
    });
}

TEST_F(FtpPropertiesTest, WithoutUserInterfaceItIsCancelledAtOnce) {
    framework.userInterface = false;
    Execute();
    EXPECT_THAT(Settings(), testing::Contains(L"FTPServer=host"));
    EXPECT_THAT(framework.LogText(), HasSubstr(L"dialog frmFTP and a user interface is not supported"));
}

TEST_F(FtpPropertiesTest, AMissingCaptionIsAReport) {
    framework.resources.erase(136);
    Execute();
    EXPECT_THAT(framework.LogText(), HasSubstr(L"frmFTP.frm.Execute"));
    EXPECT_THAT(Settings(), testing::Contains(L"FTPServer=host"));
}

class LoginPromptTest : public DialogTest {
protected:
    bool Show(const std::function<void(const Screen&)>& script) {
        const User user(L"FTP Prompt", script);
        return prompt.Show();
    }

    frmPromptFTP prompt;
};

TEST_F(LoginPromptTest, KeepsWhatWasTypedForTheNextTime) {
    EXPECT_TRUE(Show([](const Screen& screen) {
        EXPECT_TRUE(screen.FocusReaches(IDC_PROMPT_SERVER));
        screen.Type(IDC_PROMPT_SERVER, L"host");
        screen.Mnemonic(L'l');
        EXPECT_TRUE(Eventually([&] { return screen.IsChecked(IDC_PROMPT_SAVE); }));
        screen.Confirm();
    }));
    EXPECT_TRUE(prompt.chkSaveProperties);
    EXPECT_FALSE(Show([](const Screen& screen) {
        EXPECT_EQ(screen.Text(IDC_PROMPT_SERVER), L"host");
        EXPECT_TRUE(screen.IsChecked(IDC_PROMPT_SAVE));
        EXPECT_TRUE(screen.FocusReaches(IDC_PROMPT_USER));
        screen.Type(IDC_PROMPT_USER, L"joe");
        screen.Key(VK_ESCAPE);
        screen.AwaitEnd();
    }));
    EXPECT_TRUE(Show([](const Screen& screen) {
        EXPECT_TRUE(screen.FocusReaches(IDC_PROMPT_PASSWORD));
        screen.Type(IDC_PROMPT_PASSWORD, L"secret");
        EXPECT_NE(SendMessageW(screen.Control(IDC_PROMPT_PASSWORD), EM_GETPASSWORDCHAR, 0, 0), 0);
        for (const int control :
             {IDC_PROMPT_SAVE, static_cast<int>(IDOK), static_cast<int>(IDCANCEL), IDC_PROMPT_SERVER}) {
            screen.Key(VK_TAB);
            EXPECT_TRUE(screen.FocusReaches(control));
        }
        screen.Click(IDOK);
        screen.AwaitEnd();
    }));
    EXPECT_EQ(prompt.txtServer + prompt.txtUser + prompt.txtPassword, L"hostjoesecret");
}

TEST_F(LoginPromptTest, WithoutUserInterfaceItIsCancelledAtOnce) {
    framework.userInterface = false;
    EXPECT_FALSE(prompt.Show());
    EXPECT_THAT(framework.LogText(), HasSubstr(L"dialog frmPromptFTP and a user interface is not supported"));
}

/// The sender/receiver that asks for its login: server "host" and user "joe" are known, the password is not.
class LoginTest : public FtpTest {
protected:
    LoginTest() {
        TakeProductTexts(framework);
        framework.userInterface = true;
        Configure();
        settings->put_ApplicationName(com::Bstr(L"App").Get());
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
    bool LoginCancelled() { return com::Get<bool>(&IZNSenderReceiver::get_LoginCancelled, remote.Get()); }
};

TEST_F(LoginTest, TheUserIsAskedUntilALoginWorksAndMaySaveIt) {
    server.Fail("Connect", {ERROR_INTERNET_CANNOT_CONNECT});
    const User user(L"FTP Prompt", [&](const Screen& prompt) {
        EXPECT_EQ(prompt.Text(IDC_PROMPT_SERVER) + L"," + prompt.Text(IDC_PROMPT_USER), L"host,joe");
        prompt.Confirm();
        const Screen second = NextPrompt(framework.resources[143]);
        EXPECT_EQ(Calls(), "") << "no connection without a password";
        Enter(second, L"ann", L"wrong");
        const Screen third = NextPrompt(framework.resources[144]);
        EXPECT_EQ(third.Text(IDC_PROMPT_USER), L"ann");
        SendMessageW(third.Control(IDC_PROMPT_SAVE), BM_CLICK, 0, 0);
        Enter(third, L"ann", L"right");
    });
    EXPECT_TRUE(Connect());
    EXPECT_THAT(Calls(), testing::EndsWith("Connect host 0 ann right 1 0|"));
    EXPECT_FALSE(LoginCancelled());
    EXPECT_THAT(Settings(), testing::StartsWith(L"FTP_SERVER=host\nFTP_USER=ann\nFTP_PASSWORD=right\n"));
    EXPECT_EQ(framework.registry[L"13/Transport/FTPServer"], L"host");
    EXPECT_EQ(framework.registry[L"13/Transport/FTPUser"], L"ann");
    EXPECT_EQ(framework.registry[L"13/Transport/FTPPassword"], FtpPassword::EncipherBytes(L"right"));
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
        EXPECT_THAT(Settings(), testing::StartsWith(L"FTP_SERVER=host\nFTP_USER=joe\nFTP_PASSWORD=\n"));
    }
    EXPECT_EQ(Reported(), L"");
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
    EXPECT_THAT(Reported(), HasSubstr(L"clsFTPSndRcv.cls.InternalOpenConnection"));
    EXPECT_FALSE(LoginCancelled());
    EXPECT_THAT(Settings(), testing::StartsWith(L"FTP_SERVER=host\nFTP_USER=joe\nFTP_PASSWORD=\n"));
}

}  // namespace
}  // namespace tests
