// See frmPromptFTP.h.
#include "sendrecv/frmPromptFTP.h"

#include "ftp/settings/FtpSettings.h"
#include "sendrecv/frmPromptFTPControls.h"

int frmPromptFTP::Load() {
    LimitText(IDC_PROMPT_SERVER, kFtpServer.longest);
    LimitText(IDC_PROMPT_USER, kFtpUser.longest);
    LimitText(IDC_PROMPT_PASSWORD, kFtpPassword.longest);
    SetText(IDC_PROMPT_SERVER, txtServer);
    SetText(IDC_PROMPT_USER, txtUser);
    SetText(IDC_PROMPT_PASSWORD, txtPassword);
    SetChecked(IDC_PROMPT_SAVE, chkSaveProperties);
    return FirstBox();
}

/// The first empty one. Behind a login that failed it is the password: whoever types that again without
/// looking must not do so where it can be read.
int frmPromptFTP::FirstBox() const {
    if (txtServer.empty()) return IDC_PROMPT_SERVER;
    return txtUser.empty() ? IDC_PROMPT_USER : IDC_PROMPT_PASSWORD;
}

void frmPromptFTP::Command(int control, int) {
    if (control != IDOK && control != IDCANCEL) return;
    ReadControls();
    Close(control == IDOK);
}

void frmPromptFTP::ReadControls() {
    txtServer = Text(IDC_PROMPT_SERVER);
    txtUser = Text(IDC_PROMPT_USER);
    txtPassword = Text(IDC_PROMPT_PASSWORD);
    chkSaveProperties = IsChecked(IDC_PROMPT_SAVE);
}
