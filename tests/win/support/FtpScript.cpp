// See FtpScript.h.
#include "tests/win/support/FtpScript.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace tests {

namespace {

/// What the system has kept is of a moment ago, and what it keeps, others can read.
constexpr DWORD kPastTheCache = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE;

FtpScript* g_script = nullptr;
std::string g_agent;
std::vector<RemoteEntry> g_found;  // what an open search has not handed out yet
bool g_binary = false;             // whether bytes travel unchanged now

BOOL Result(bool done, DWORD error) {
    if (!done) SetLastError(error);
    return done;
}

BOOL Refuse(const char* reply) {
    g_script->response = reply;
    return Result(false, ERROR_INTERNET_EXTENDED_ERROR);
}

bool Succeed(const std::string& function) {
    ++g_script->calls;
    auto& errors = g_script->failures[function];
    if (errors.empty()) return true;
    if (const std::string& reply = g_script->replies[function]; !reply.empty()) g_script->response = reply;
    SetLastError(errors.front());
    errors.erase(errors.begin());
    return false;
}

bool Succeed(const std::string& function, HINTERNET handle) {
    EXPECT_TRUE(g_script->open.contains(handle)) << function << " without a connection";
    return Succeed(function);
}

HINTERNET NewHandle() {
    static UINT_PTR last = 0;
    return *g_script->open.insert(reinterpret_cast<HINTERNET>(++last)).first;
}

std::string PathOf(const std::string& name) {
    EXPECT_EQ(name.find('\\'), name.npos) << "a character like any other there";
    const std::string& current = g_script->currentFolder;
    std::string path(name.starts_with("/") || current == "/" ? "" : current);
    if (!name.starts_with("/")) path.append("/");
    path.append(name);
    path = std::filesystem::path(path).lexically_normal().generic_string();
    if (path.size() > 1 && path.ends_with("/")) path.pop_back();
    return path;
}

std::vector<RemoteEntry> EntriesOfCurrentFolder() {
    std::vector<RemoteEntry> entries;
    const auto add = [&](const std::string& path, DWORD attributes, size_t size) {
        const size_t end = path.rfind('/');
        if (path != "/" && path.substr(0, std::max<size_t>(end, 1)) == g_script->currentFolder)
            entries.push_back({path.substr(end + 1), attributes, static_cast<DWORD>(size)});
    };
    for (const auto& [path, content] : g_script->files)
        add(path, FILE_ATTRIBUTE_NORMAL, content.size());
    for (const std::string& path : g_script->folders)
        add(path, FILE_ATTRIBUTE_DIRECTORY, 0);
    return entries;
}

/// As on a server that does not tell the case of letters.
bool Fits(const std::string& name, const std::string& pattern) {
    EXPECT_EQ(pattern.find_first_of(" []{}"), pattern.npos) << "what the server takes for something else";
    EXPECT_FALSE(pattern.starts_with("-") || pattern.starts_with("~")) << pattern;
    return pattern == "*.*" || std::ranges::equal(name, pattern, [](char letter, char wanted) {
               return wanted == '?' || std::tolower(letter) == std::tolower(wanted);
           });
}

BOOL HandOut(WIN32_FIND_DATAA* found) {
    if (g_found.empty()) return Result(false, ERROR_NO_MORE_FILES);
    *found = {};
    g_found.front().name.copy(found->cFileName, sizeof found->cFileName - 1);
    found->dwFileAttributes = g_found.front().attributes;
    found->nFileSizeLow = g_found.front().size;
    found->ftLastWriteTime = g_found.front().lastWrite;
    g_found.erase(g_found.begin());
    return TRUE;
}

HINTERNET WINAPI Open(LPCSTR agent, DWORD access, LPCSTR, LPCSTR, DWORD) {
    EXPECT_EQ(access, DWORD{INTERNET_OPEN_TYPE_PRECONFIG});
    g_agent = agent;
    return Succeed("Open") ? NewHandle() : nullptr;
}

BOOL WINAPI SetOption(HINTERNET session, DWORD option, LPVOID value, DWORD length) {
    EXPECT_EQ(length, sizeof(DWORD));
    g_script->options[option] = *static_cast<const DWORD*>(value);
    return Succeed("SetOption", session);
}

BOOL WINAPI QueryOption(HINTERNET session, DWORD option, LPVOID value, LPDWORD length) {
    EXPECT_EQ(option, DWORD{INTERNET_OPTION_PROXY});
    if (!Succeed("QueryOption", session)) return FALSE;
    const std::wstring& proxies = g_script->proxies;
    const auto needed =
        static_cast<DWORD>(sizeof(INTERNET_PROXY_INFO) + (proxies.size() + 1) * sizeof(wchar_t));
    const bool fits = value && *length >= needed;
    *length = needed;
    if (!fits) return Result(false, ERROR_INSUFFICIENT_BUFFER);
    auto* info = static_cast<INTERNET_PROXY_INFO*>(value);
    auto* text = reinterpret_cast<wchar_t*>(info + 1);
    std::memcpy(text, proxies.c_str(), (proxies.size() + 1) * sizeof(wchar_t));
    *info = proxies.empty() ? INTERNET_PROXY_INFO{INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr}
                            : INTERNET_PROXY_INFO{INTERNET_OPEN_TYPE_PROXY, text, nullptr};
    return TRUE;
}

HINTERNET WINAPI Connect(HINTERNET session, LPCSTR server, INTERNET_PORT port, LPCSTR user, LPCSTR password,
                         DWORD service, DWORD flags, DWORD_PTR) {
    EXPECT_EQ(port, INTERNET_INVALID_PORT_NUMBER);
    EXPECT_EQ(service, DWORD{INTERNET_SERVICE_FTP});
    EXPECT_EQ(flags, 0u) << "active mode";
    g_script->logins.push_back(g_agent + ": " + user + ":" + password + "@" + server);
    return Succeed("Connect", session) ? NewHandle() : nullptr;
}

BOOL WINAPI Close(HINTERNET handle) {
    if (!handle) return Result(false, ERROR_INVALID_HANDLE);
    EXPECT_EQ(g_script->open.erase(handle), 1u) << "closed twice";
    return TRUE;
}

BOOL WINAPI FindNext(HINTERNET search, LPVOID found) {
    return Succeed("FindNext", search) && HandOut(static_cast<WIN32_FIND_DATAA*>(found));
}

BOOL WINAPI LastResponse(LPDWORD error, LPSTR text, LPDWORD length) {
    *error = 0;
    const auto size = static_cast<DWORD>(g_script->response.size());
    const bool fits = text && *length > size;
    if (fits) std::memcpy(text, g_script->response.c_str(), size + 1);
    *length = size;
    return Result(fits, ERROR_INSUFFICIENT_BUFFER);
}

BOOL WINAPI SetFolder(HINTERNET connection, LPCSTR folder) {
    if (!Succeed("SetFolder", connection)) return FALSE;
    // Like the servers that take an empty path for the user's home.
    const std::string path = *folder ? PathOf(folder) : g_script->home;
    if (!g_script->folders.contains(path)) return Result(false, ERROR_INTERNET_EXTENDED_ERROR);
    g_script->currentFolder = path;
    g_script->afterEntering();
    return TRUE;
}

BOOL WINAPI GetFolder(HINTERNET connection, LPSTR folder, LPDWORD length) {
    if (!Succeed("GetFolder", connection)) return FALSE;
    const std::string& current = g_script->currentFolder;
    if (*length < 259 || *length > 260 || current.size() >= *length)
        return Result(false, ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(folder, current.c_str(), current.size() + 1);
    return TRUE;
}

BOOL WINAPI Create(HINTERNET connection, LPCSTR folder) {
    if (!Succeed("Create", connection)) return FALSE;
    return Result(g_script->folders.insert(PathOf(folder)).second, ERROR_INTERNET_EXTENDED_ERROR);
}

HINTERNET WINAPI Find(HINTERNET connection, LPCSTR pattern, LPWIN32_FIND_DATAA found, DWORD flags,
                      DWORD_PTR) {
    EXPECT_EQ(flags, kPastTheCache);
    g_binary = false;
    if (!Succeed("Find", connection)) return nullptr;
    g_found = g_script->listing.value_or(EntriesOfCurrentFolder());
    std::erase_if(g_found, [&](const RemoteEntry& entry) { return !Fits(entry.name, pattern); });
    return HandOut(found) ? NewHandle() : nullptr;
}

BOOL WINAPI Get(HINTERNET connection, LPCSTR name, LPCSTR target, BOOL failIfExists, DWORD attributes,
                DWORD flags, DWORD_PTR) {
    EXPECT_FALSE(failIfExists);
    EXPECT_EQ(flags, kPastTheCache);
    g_binary = true;
    g_script->attributes = attributes;
    std::ofstream file(target, std::ios::binary);
    if (!Succeed("Get", connection)) {
        file << "a part";
        return FALSE;
    }
    const auto found = g_script->files.find(PathOf(name));
    if (found == g_script->files.end()) return Result(false, ERROR_INTERNET_EXTENDED_ERROR);
    file << found->second;
    file.close();
    SetFileAttributesA(target, attributes);
    g_script->afterGet();
    return TRUE;
}

BOOL WINAPI Put(HINTERNET connection, LPCSTR source, LPCSTR name, DWORD flags, DWORD_PTR) {
    EXPECT_NE(flags, DWORD{FTP_TRANSFER_TYPE_ASCII});
    if (!Succeed("Put", connection)) {
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

BOOL WINAPI Delete(HINTERNET connection, LPCSTR name) {
    if (!Succeed("Delete", connection)) return FALSE;
    if (g_script->files.erase(PathOf(name)) != 0) return TRUE;
    return Refuse("550 No such file.\r\n");
}

BOOL WINAPI Rename(HINTERNET connection, LPCSTR from, LPCSTR to) {
    if (!Succeed("Rename", connection)) return FALSE;
    auto file = g_script->files.extract(PathOf(from));
    if (file.empty()) return Refuse("550 No such file.\r\n");
    g_script->files.erase(PathOf(to));
    file.key() = PathOf(to);
    g_script->files.insert(std::move(file));
    return TRUE;
}

BOOL WINAPI Command(HINTERNET connection, BOOL expectData, DWORD, LPCSTR command, DWORD_PTR, HINTERNET*) {
    EXPECT_FALSE(expectData);
    if (!Succeed("Command", connection)) return FALSE;
    const std::string text = command;
    g_script->atCommand(text);
    if (text == "TYPE I") return g_binary = true;
    const auto file = g_script->files.find(PathOf(text.substr(5)));
    const bool asksSize = text.starts_with("SIZE ");
    if (!g_script->tellsStatus || file == g_script->files.end() || (asksSize && !g_binary))
        return Refuse("550 Not told.\r\n");
    g_script->response =
        "213 " + (asksSize ? std::to_string(file->second.size()) : g_script->lastWrites[file->first]) +
        "\r\n";
    return TRUE;
}

}  // namespace

FtpScript::FtpScript() : m_real(WinInet()) {
    g_script = this;
    WinInet() = {&Open,      &SetOption, &QueryOption, &Connect, &Close, &FindNext, &LastResponse, &SetFolder,
                 &GetFolder, &Create,    &Find,        &Get,     &Put,   &Delete,   &Rename,       &Command};
}

FtpScript::~FtpScript() {
    WinInet() = m_real;
    g_script = nullptr;
}

}  // namespace tests
