// The names of one folder, as Windows tells them apart.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "base/Text.h"

namespace base {

/// A server or a share may tell names apart that are one name here: the second file would replace the first.
class LocalNames {
public:
    /// False when an earlier one is the same name here.
    bool Add(std::wstring_view name) { return m_names.insert(Upper(name)).second; }

private:
    std::set<std::wstring> m_names;
};

}  // namespace base
