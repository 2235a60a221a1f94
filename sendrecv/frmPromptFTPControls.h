// Controls of the login prompt, for its template and its code.
#pragma once

#define IDC_PROMPT_SERVER 1001
#define IDC_PROMPT_USER 1002
#define IDC_PROMPT_PASSWORD 1003
#define IDC_PROMPT_SAVE 1004
