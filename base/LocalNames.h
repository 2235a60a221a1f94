// The names of one folder, as Windows tells them apart.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "base/Text.h"

namespace base {

/// A server or a share may tell names apart that are one name here: the second file would replace the first.
class LocalNames {
public:
    /// False when an earlier one is the same name here.
    bool Add(std::wstring_view name) { return ++m_names[Upper(name)] == 1; }
    /// Whether several that were added are this name here. Which of them is the newer one, nobody can tell.
    bool AreOne(std::wstring_view name) const {
        const auto found = m_names.find(Upper(name));
        return found != m_names.end() && found->second > 1;
    }

private:
    std::map<std::wstring, int> m_names;
};

/// What is told of such a name: the second file that moves would replace the first one.
inline std::wstring TellOfTwin(const std::wstring& name, const std::wstring& from, const std::wstring& to) {
    return L"The folder " + from + L" holds the name " + name +
           L" and another one that differs only in the case of letters. Both would be one name in the "
           L"folder " +
           to + L". Both stay; rename or remove one of them.";
}

}  // namespace base
