// Another current folder for the process.
#pragma once

#include <filesystem>

#include "tests/win/support/TempFolder.h"

namespace tests {

/// A scratch folder that is the current folder while it exists.
class CurrentFolder {
public:
    CurrentFolder() { std::filesystem::current_path(temp.Path()); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;
    ~CurrentFolder() { std::filesystem::current_path(m_previous); }

    const TempFolder temp;

private:
    const std::filesystem::path m_previous = std::filesystem::current_path();
};

}  // namespace tests
