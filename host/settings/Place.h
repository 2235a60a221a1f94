// What paths lead to: drives, junctions and short names give one folder many paths.
#pragma once

#include <map>
#include <string>
#include <vector>

/// Asks the system once for each path.
class Places {
public:
    /// Text that is the same for all paths to one file or folder, also to one that is still to be made in the
    /// same folder. Empty where the system does not tell.
    const std::wstring& Of(const std::wstring& path);
    /// That of a path, and of every folder that it lies in, as far as the system tells.
    std::vector<std::wstring> OnTheWayTo(const std::wstring& path);

private:
    std::wstring Ask(const std::wstring& path);

    std::map<std::wstring, std::wstring> m_known;
};

/// Whether two paths lead to one file or folder. False also where the system does not tell.
bool AreOnePlace(const std::wstring& one, const std::wstring& other);
