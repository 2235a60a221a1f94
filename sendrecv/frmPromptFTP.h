// The login prompt of the FTP sender/receiver.
#pragma once

#include <string>

#include "ui/Dialog.h"

class frmPromptFTP final : Dialog {
public:
    frmPromptFTP() : Dialog(L"frmPromptFTP") {}

    std::wstring txtServer;
    std::wstring txtUser;
    std::wstring txtPassword;
    bool chkSaveProperties = false;

    /// Shows the dialog modally; true unless it was cancelled. The values stay for the next Show. Where the
    /// host allows no user interface it is cancelled at once, with a report.
    bool Show() { return ShowModal(); }

private:
    int Load() override;
    void Command(int control, int code) override;
    int FirstBox() const;
    void ReadControls();
};
