#include "companions/zip/Extraction.h"

#include <set>

namespace companions::zip {

std::vector<Target> PlanExtraction(const std::vector<Member>& members, Paths paths) {
    std::vector<Target> targets;
    std::set<std::filesystem::path::string_type> seen;
    for (const Member& member : members) {
        if (member.IsFolder() && paths == Paths::Junk) continue;
        Target target{&member, TargetPath(member.name, paths)};
        if (target.path.empty()) {
            if (member.IsFolder()) continue;
            throw FormatError("a member has no name");
        }
        if (!seen.insert(Folded(target.path)).second)
            throw FormatError(member.name + " has the same name as another member" +
                              (paths == Paths::Junk ? "; extract with paths, without -j" : ""));
        targets.push_back(std::move(target));
    }
    return targets;
}

}  // namespace companions::zip
