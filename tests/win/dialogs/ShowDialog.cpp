// show_dialog NAME: opens a dialog of the library with sample settings, for people and pictures.
#include <iostream>

#include "common/modMain.h"
#include "ftp/settings/FtpPassword.h"
#include "mobile/frmFTP.h"
#include "sendrecv/frmPromptFTP.h"
#include "tests/win/dialogs/ProductTexts.h"
#include "tests/win/support/Dll.h"

namespace {

void ShowProperties() {
    FtpSite site{.server = L"ftp.example.org",
                 .user = L"field-17",
                 .password = FtpPassword::Encipher(L"secret"),
                 .enterpriseToField = L"EnterpriseToField",
                 .fieldToEnterprise = L"FieldToEnterprise"};
    frmFTP().Execute(3, site);
}

void ShowPrompt() {
    frmPromptFTP prompt;
    prompt.txtServer = L"ftp.example.org";
    prompt.txtUser = L"field-17";
    prompt.Show();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const tests::ComApartment apartment;
    tests::Framework framework;
    tests::TakeProductTexts(framework);
    framework.userInterface = true;
    Main();
    const std::wstring name = argc > 1 ? argv[1] : L"";
    if (name == L"frmFTP") return ShowProperties(), 0;
    if (name == L"frmPromptFTP") return ShowPrompt(), 0;
    std::wcerr << L"show_dialog frmFTP | frmPromptFTP\n";
    return 2;
}
