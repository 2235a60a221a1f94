// See Arrival.h.
#include "base/Arrival.h"

#include <windows.h>

#include <optional>
#include <utility>

#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/SystemError.h"

namespace FileSystem {

namespace {

constexpr std::wstring_view kStart = L"~";
constexpr std::wstring_view kEnd = L".arriving";

/// No two threads of a computer share a name at a time; where two computers do, one of them is told that it
/// exists. It is short enough for every folder and, as the transporter reads names, that of no packet.
std::wstring NumberedPath(const std::wstring& destination, ULONGLONG number) {
    return destination.substr(0, destination.size() - Path::FileName(destination).size())
        .append(kStart)
        .append(std::to_wstring(GetCurrentThreadId()))
        .append(L"-")
        .append(std::to_wstring(number))
        .append(kEnd);
}

}  // namespace

/// The lowest number leaves most room for the folder where a path must be short.
std::wstring ArrivalPath(const std::wstring& destination) {
    for (ULONGLONG number = 1;; ++number)
        if (std::wstring path = NumberedPath(destination, number); !FileExists(path)) return path;
}

base::File CreateArrival(const std::wstring& destination, base::Where where) try {
    for (ULONGLONG number = GetTickCount64();; ++number)
        if (auto file = base::File::TryCreateTransient(NumberedPath(destination, number), where))
            return *std::move(file);
} catch (const base::SystemError& error) {
    // Who asked for the file knows it by its later name.
    throw base::SystemError(error.Code(), "create", destination, where);
}

bool IsArrival(std::wstring_view name) noexcept {
    if (!name.starts_with(kStart) || !name.ends_with(kEnd)) return false;
    name.remove_prefix(kStart.size());
    name.remove_suffix(kEnd.size());
    const size_t dash = name.find(L'-');
    const auto isNumber = [](std::wstring_view text) {
        return !text.empty() && text.find_first_not_of(L"0123456789") == std::wstring_view::npos;
    };
    return dash != std::wstring_view::npos && isNumber(name.substr(0, dash)) &&
           isNumber(name.substr(dash + 1));
}

/// One that is being written cannot be opened.
bool IsAbandonedArrival(const std::wstring& path) {
    return base::File::TryOpen(path, GENERIC_READ, base::kShareAll).has_value();
}

}  // namespace FileSystem
