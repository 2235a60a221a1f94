// A folder of this process for the work files of encoders, which lie in TEMP under their packets' names:
// hosts that run side by side must not take each other's.
#pragma once

#include <optional>
#include <string>

#include "base/Error.h"

/// TEMP names the folder while it exists. Where none can be made, nobody is kept from what needs none.
class WorkFolder {
public:
    WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    ~WorkFolder();

    /// Throws why there is none.
    const std::wstring& Path() const;

private:
    void Make();

    std::optional<base::Failure> m_refusal;
    std::wstring m_path;
    std::wstring m_previous;
};
