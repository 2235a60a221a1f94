// What an examination of an installation finds.
#pragma once

#include <string>
#include <vector>

struct Finding {
    const wchar_t* check;  ///< what was examined; for programs it never changes
    bool isGood = true;
    std::wstring what;
    std::wstring advice;  ///< what to do; empty where all is well
};

using Findings = std::vector<Finding>;

inline Finding Good(const wchar_t* check, std::wstring what) { return {check, true, std::move(what), {}}; }
inline Finding Bad(const wchar_t* check, std::wstring what, std::wstring advice) {
    return {check, false, std::move(what), std::move(advice)};
}
/// A file lies in the place of a folder.
inline Finding NoFolder(const wchar_t* check, const std::wstring& folder) {
    return Bad(check, folder + L": this is a file, not a folder", L"Remove the file, or name a folder.");
}
