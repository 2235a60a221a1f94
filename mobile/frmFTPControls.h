// Controls of the FTP properties dialog, for its template and its code.
#pragma once

// cmdApply and cmdCancel are what Enter and Escape press.
#define IDC_FTP_APPLY 1
#define IDC_FTP_CANCEL 2

// The boxes in the order of their labels: server, user, password, enterprise to field, field to enterprise
#define IDC_FTP_TEXT 1000
#define IDC_FTP_LABEL 1010

#define IDC_FTP_FOLDERS 1020
#define IDC_FTP_VERIFY_ON_APPLY 1021
#define IDC_FTP_VERIFY 1022
