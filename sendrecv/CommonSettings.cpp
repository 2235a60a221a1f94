#include "sendrecv/CommonSettings.h"

#include "common/modMain.h"
#include "common/modZNStartup.h"

void StoreTestedFolder(std::wstring& folder, const std::wstring& value, bool supressMsg,
                       std::wstring_view source) try {
    folder = value;
    CheckReadWriteDelete(value, supressMsg);
} catch (...) {
    ReportCurrentError(source);
}
