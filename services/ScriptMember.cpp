// See ScriptMember.h.
#include "services/ScriptMember.h"

#include "base/FileSystem.h"

void WarnOfScript(std::wstring procedure, std::wstring_view what, bool& reported) {
    if (std::exchange(reported, true)) return;
    Procedure(std::move(procedure))
        .Report(
            Lines(std::wstring(what) + L" failed; the work goes on. Further failures of it are not reported.",
                  base::CurrentFailure().description),
            ZN_EVENTLOG_WARNING_TYPE);
}

std::wstring ScriptPath(const std::wstring& path) {
    return path.empty() ? path : FileSystem::FullPath(FileSystem::FullPath(L"."), path);
}
