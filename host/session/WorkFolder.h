// A folder of this process for the work files of encoders, which lie in TEMP under their packets' names:
// hosts that run side by side must not take each other's.
#pragma once

#include <string>

/// TEMP names the folder while it exists. Throws base::Error.
class WorkFolder {
public:
    WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    ~WorkFolder();

private:
    std::wstring m_path;
    std::wstring m_previous;
};
