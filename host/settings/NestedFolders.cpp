// See NestedFolders.h.
#include "host/settings/NestedFolders.h"

#include <algorithm>

namespace {

bool LiesIn(const LocatedFolder& inner, const LocatedFolder& outer) {
    if (&inner == &outer || outer.way.empty()) return false;
    const auto found = std::ranges::find(inner.way, outer.way.front());
    return found != inner.way.end() && (found != inner.way.begin() || outer.setting < inner.setting);
}

}  // namespace

Problems NestedFolders(const Settings& settings, const std::vector<LocatedFolder>& folders,
                       const std::wstring& how) {
    Problems problems;
    for (const LocatedFolder& outer : folders)
        for (const LocatedFolder& inner : folders)
            if (LiesIn(inner, outer))
                problems.push_back(
                    Complaint(settings, *inner.setting,
                              L"the folder must not be or lie in that of " + outer.setting->Title() + how));
    return problems;
}
