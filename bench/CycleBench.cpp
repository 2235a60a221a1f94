// The calls into the system without which a cycle of the host could not do what it promises, and nothing
// else. cycle_bench send|receive FOLDERS...: outbox sent send share, or share receive inbox.
#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "bench/Bench.h"

using bench::Fail;

namespace {

void Flush(const std::wstring& file) {
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (!FlushFileBuffers(handle)) Fail("FlushFileBuffers");
    CloseHandle(handle);
}

void Copy(const std::wstring& from, const std::wstring& to) {
    if (!CopyFileW(from.c_str(), to.c_str(), FALSE)) Fail("CopyFileW");
    Flush(to);
}

void Move(const std::wstring& from, const std::wstring& to) {
    if (!MoveFileExW(from.c_str(), to.c_str(), 0)) Fail("MoveFileExW");
}

void Delete(const std::wstring& file) {
    if (!DeleteFileW(file.c_str())) Fail("DeleteFileW");
}

/// Before each packet that comes into it a folder is written to, read, and deleted from.
void TestFolder(const std::wstring& folder) {
    const std::wstring path = folder + L"\\test.txt";
    char text[16] = "test";
    DWORD done = 0;
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (!WriteFile(file, text, sizeof text, &done, nullptr)) Fail("WriteFile");
    CloseHandle(file);
    file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (!ReadFile(file, text, sizeof text, &done, nullptr)) Fail("ReadFile");
    CloseHandle(file);
    Delete(path);
}

/// Runs an action for each packet, after the folders that it needs have been made.
void ForEachPacket(const std::wstring& top, const std::vector<std::wstring>& needed,
                   const std::function<void(const std::wstring& packet)>& action) {
    const bench::Names names = bench::List(top);
    for (const std::wstring& folder : needed)
        CreateDirectoryW(folder.c_str(), nullptr);
    for (const std::wstring& file : names.files)
        action(L"\\" + file);
    for (const std::wstring& name : names.folders) {
        const std::wstring below = L"\\" + name;
        std::vector<std::wstring> neededBelow;
        for (const std::wstring& folder : needed)
            neededBelow.push_back(folder + below);
        ForEachPacket(top + below, neededBelow, [&](const std::wstring& packet) { action(below + packet); });
    }
}

std::wstring FolderOf(const std::wstring& path) { return path.substr(0, path.rfind(L'\\')); }

void Send(const std::wstring& outbox, const std::wstring& sent, const std::wstring& send,
          const std::wstring& share) {
    ForEachPacket(outbox, {sent, send}, [&](const std::wstring& packet) {
        TestFolder(FolderOf(send + packet));
        Copy(outbox + packet, send + packet);
        Move(outbox + packet, sent + packet);
    });
    ForEachPacket(send, {share}, [&](const std::wstring& packet) {
        Copy(send + packet, share + packet);
        Delete(send + packet);
    });
}

void Receive(const std::wstring& share, const std::wstring& receive, const std::wstring& inbox) {
    ForEachPacket(share, {receive}, [&](const std::wstring& packet) {
        Copy(share + packet, receive + packet);
        Delete(share + packet);
    });
    ForEachPacket(receive, {inbox}, [&](const std::wstring& packet) {
        TestFolder(FolderOf(inbox + packet));
        if (GetFileAttributesW((inbox + packet + L"_bak").c_str()) != INVALID_FILE_ATTRIBUTES) Fail("_bak");
        if (GetFileAttributesW((inbox + packet).c_str()) != INVALID_FILE_ATTRIBUTES) Fail("older file");
        Move(receive + packet, inbox + packet);
    });
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    const std::wstring direction = count > 1 ? arguments[1] : L"";
    if (direction == L"send" && count == 6)
        Send(arguments[2], arguments[3], arguments[4], arguments[5]);
    else if (direction == L"receive" && count == 5)
        Receive(arguments[2], arguments[3], arguments[4]);
    else
        Fail("use: cycle_bench send|receive FOLDERS");
    return 0;
}
