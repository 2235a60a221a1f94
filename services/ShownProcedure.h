// A procedure whose failures the host's status list shows, too.
#pragma once

#include <string>
#include <string_view>

#include "common/Report.h"
#include "services/HostProgress.h"

class ShownProcedure : public Procedure {
public:
    ShownProcedure(std::wstring name, const HostProgress& progress)
        : Procedure(std::move(name)), m_progress(progress) {}

    /// Never throws: the operation failed, whether or not somebody can be told.
    bool Fail(std::wstring_view text) const noexcept {
        Quietly([&] { Report(text); });
        Quietly([&] { m_progress.AddMessage(std::wstring(text), ZN_PROGRESS_FAILURE); });
        return false;
    }

private:
    const HostProgress& m_progress;
};
