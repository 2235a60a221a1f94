// See frmPromptFTP.h.
#include "sendrecv/frmPromptFTP.h"

#include "sendrecv/frmPromptFTPControls.h"

int frmPromptFTP::Load() {
    SetText(IDC_PROMPT_SERVER, txtServer);
    SetText(IDC_PROMPT_USER, txtUser);
    SetText(IDC_PROMPT_PASSWORD, txtPassword);
    SetChecked(IDC_PROMPT_SAVE, chkSaveProperties);
    return FirstEmptyBox();
}

int frmPromptFTP::FirstEmptyBox() const {
    if (txtServer.empty()) return IDC_PROMPT_SERVER;
    if (txtUser.empty()) return IDC_PROMPT_USER;
    if (txtPassword.empty()) return IDC_PROMPT_PASSWORD;
    return IDC_PROMPT_SERVER;
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
