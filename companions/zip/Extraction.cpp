// See Extraction.h.
#include "companions/zip/Extraction.h"

#include <set>

#include "companions/support/Fields.h"

namespace companions::zip {

std::vector<Target> PlanExtraction(const std::vector<Entry>& entries, Paths paths, Folding fold) {
    std::vector<Target> targets;
    std::set<std::wstring> seen;
    for (const Entry& entry : entries) {
        if (entry.IsFolder() && paths == Paths::Junk) continue;
        Target target{&entry, TargetPath(entry.name, paths)};
        if (target.path.empty()) {
            if (entry.IsFolder()) continue;
            throw FormatError("a member has no name");
        }
        if (!seen.insert(fold(target.path)).second)
            throw FormatError(entry.name + " has the same name as another member" +
                              (paths == Paths::Junk ? "; extract with paths, without -j" : ""));
        targets.push_back(std::move(target));
    }
    return targets;
}

}  // namespace companions::zip
