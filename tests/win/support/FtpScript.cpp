#include "tests/win/support/FtpScript.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace tests {

namespace {

FtpScript* g_script = nullptr;
std::vector<RemoteEntry> g_found;  // what an open search has not handed out yet
size_t g_handedOut = 0;

const auto kInternet = reinterpret_cast<HINTERNET>(1);
const auto kConnection = reinterpret_cast<HINTERNET>(2);
const auto kFind = reinterpret_cast<HINTERNET>(3);

bool Succeed(const std::string& function) {
    auto& errors = g_script->failures[function];
    if (errors.empty()) return true;
    SetLastError(errors.front());
    errors.erase(errors.begin());
    return false;
}

bool Succeed(const std::string& function, const std::string& arguments) {
    g_script->transcript += function + (arguments.empty() ? "" : " ") + arguments + "|";
    return Succeed(function);
}

BOOL Result(bool done, DWORD error) {
    if (!done) SetLastError(error);
    return done;
}

std::string PathOf(const std::string& name) {
    const std::string& current = g_script->currentFolder;
    std::string path(name.starts_with("/") || current == "/" ? "" : current);
    if (!name.starts_with("/")) path.append("/");
    path.append(name);
    if (path.size() > 1 && path.ends_with("/")) path.pop_back();
    return path;
}

std::string Number(HINTERNET handle) { return std::to_string(reinterpret_cast<UINT_PTR>(handle)); }

std::vector<RemoteEntry> EntriesOfCurrentFolder() {
    const std::string folder = PathOf("");
    const std::string prefix = folder == "/" ? folder : folder + "/";
    const auto isIn = [&](const std::string& path) {
        return path.size() > prefix.size() && path.starts_with(prefix) &&
               path.find('/', prefix.size()) == std::string::npos;
    };
    std::vector<RemoteEntry> entries;
    for (const auto& [path, content] : g_script->files)
        if (isIn(path))
            entries.push_back(
                {path.substr(prefix.size()), FILE_ATTRIBUTE_NORMAL, static_cast<DWORD>(content.size())});
    for (const std::string& path : g_script->folders)
        if (isIn(path)) entries.push_back({path.substr(prefix.size()), FILE_ATTRIBUTE_DIRECTORY, 0});
    return entries;
}

BOOL HandOut(WIN32_FIND_DATAA* found) {
    const bool broken = g_handedOut == g_script->listingFailsAt;
    if (broken || g_found.empty())
        return Result(false, broken ? ERROR_INTERNET_CONNECTION_RESET : ERROR_NO_MORE_FILES);
    *found = {};
    g_found.front().name.copy(found->cFileName, sizeof found->cFileName - 1);
    found->dwFileAttributes = g_found.front().attributes;
    found->nFileSizeLow = g_found.front().size;
    g_found.erase(g_found.begin());
    ++g_handedOut;
    return TRUE;
}

HINTERNET WINAPI Open(LPCSTR agent, DWORD access, LPCSTR, LPCSTR, DWORD) {
    return Succeed("Open", std::string(agent) + " " + std::to_string(access)) ? kInternet : nullptr;
}

HINTERNET WINAPI Connect(HINTERNET, LPCSTR server, INTERNET_PORT port, LPCSTR user, LPCSTR password,
                         DWORD service, DWORD flags, DWORD_PTR) {
    const std::string arguments = std::string(server) + " " + std::to_string(port) + " " + user + " " +
                                  password + " " + std::to_string(service) + " " + std::to_string(flags);
    return Succeed("Connect", arguments) ? kConnection : nullptr;
}

BOOL WINAPI Close(HINTERNET handle) { return Succeed("Close", Number(handle)); }

BOOL WINAPI FindNext(HINTERNET, LPVOID found) { return HandOut(static_cast<WIN32_FIND_DATAA*>(found)); }

BOOL WINAPI LastResponse(LPDWORD error, LPSTR text, LPDWORD length) {
    *error = 0;
    const auto size = static_cast<DWORD>(g_script->response.size());
    const bool fits = text && *length > size;
    if (fits) std::memcpy(text, g_script->response.c_str(), size + 1);
    *length = size;
    return Result(fits, ERROR_INSUFFICIENT_BUFFER);
}

BOOL WINAPI SetFolder(HINTERNET, LPCSTR folder) {
    if (!Succeed("SetFolder", folder)) return FALSE;
    const std::string path = PathOf(folder);
    if (!g_script->folders.contains(path)) return Result(false, ERROR_INTERNET_EXTENDED_ERROR);
    g_script->currentFolder = path;
    return TRUE;
}

BOOL WINAPI GetFolder(HINTERNET, LPSTR folder, LPDWORD length) {
    if (!Succeed("GetFolder")) return FALSE;
    const std::string& current = g_script->currentFolder;
    if (*length != 259 || current.size() >= *length) return Result(false, ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(folder, current.c_str(), current.size() + 1);
    return TRUE;
}

BOOL WINAPI Create(HINTERNET, LPCSTR folder) {
    if (!Succeed("Create", folder)) return FALSE;
    return Result(g_script->folders.insert(PathOf(folder)).second, ERROR_INTERNET_EXTENDED_ERROR);
}

HINTERNET WINAPI Find(HINTERNET, LPCSTR pattern, LPWIN32_FIND_DATAA found, DWORD, DWORD_PTR) {
    if (!Succeed("Find", pattern)) return nullptr;
    g_handedOut = 0;
    g_found = g_script->listing.value_or(EntriesOfCurrentFolder());
    if (std::string(pattern) != "*.*")
        std::erase_if(g_found, [&](const RemoteEntry& entry) { return entry.name != pattern; });
    return HandOut(found) ? kFind : nullptr;
}

BOOL WINAPI Get(HINTERNET, LPCSTR name, LPCSTR target, BOOL failIfExists, DWORD attributes, DWORD flags,
                DWORD_PTR) {
    const std::string rest =
        std::to_string(failIfExists) + " " + std::to_string(attributes) + " " + std::to_string(flags);
    std::ofstream file(target, std::ios::binary);
    if (!Succeed("Get", std::string(name) + " " + rest)) {
        file << "a part";
        return FALSE;
    }
    const auto found = g_script->files.find(PathOf(name));
    if (found == g_script->files.end()) return Result(false, ERROR_INTERNET_EXTENDED_ERROR);
    file << found->second;
    return TRUE;
}

BOOL WINAPI Put(HINTERNET, LPCSTR source, LPCSTR name, DWORD flags, DWORD_PTR) {
    if (!Succeed("Put", std::string(name) + " " + std::to_string(flags))) {
        const DWORD error = GetLastError();
        g_script->failedPut();
        SetLastError(error);
        return FALSE;
    }
    std::ifstream file(source, std::ios::binary);
    if (!file) return Result(false, ERROR_FILE_NOT_FOUND);
    g_script->files[PathOf(name)] = {std::istreambuf_iterator<char>(file), {}};
    file.close();
    g_script->afterPut();
    return TRUE;
}

BOOL WINAPI Delete(HINTERNET, LPCSTR name) {
    if (!Succeed("Delete", name)) return FALSE;
    return Result(g_script->files.erase(PathOf(name)) != 0, ERROR_INTERNET_EXTENDED_ERROR);
}

}  // namespace

FtpScript::FtpScript() : m_real(WinInet()) {
    g_script = this;
    WinInet() = {&Open,      &Connect, &Close, &FindNext, &LastResponse, &SetFolder,
                 &GetFolder, &Create,  &Find,  &Get,      &Put,          &Delete};
}

FtpScript::~FtpScript() {
    WinInet() = m_real;
    g_script = nullptr;
}

}  // namespace tests
