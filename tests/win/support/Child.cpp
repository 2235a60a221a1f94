// Stands in for Zip.exe, Unzip.exe and xDelta.exe: does what the environment variable CHILD says, and writes
// its command line to the file CHILD_LOG. Steps are separated by "|":
//   write PATH*TEXT   hold PATH (a file that is there until the program ends)   await PATH   exit CODE
//   protect PATH (makes it read-only)   signal HANDLE (an event, inherited)   tell PATH (how it was started)
//   overrun COUNT (writes so many characters into a shorter buffer)
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

void Write(const std::filesystem::path& path, const std::wstring& text) {
    std::ofstream(path, std::ios::binary) << std::string(text.begin(), text.end());
}

void Hold(const std::wstring& path) {
    CreateFileW(path.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                FILE_FLAG_DELETE_ON_CLOSE, nullptr);
}

/// A test that fails must not wait for ever.
void Await(const std::wstring& path) {
    for (int i = 0; i < 3000 && !std::filesystem::exists(path); ++i)
        Sleep(10);
}

void TellStart(const std::wstring& path) {
    DWORD process = 0;
    const bool hasConsole = GetConsoleProcessList(&process, 1) > 0;
    Write(path, std::wstring(hasConsole ? L"console" : L"no console") +
                    (GetConsoleWindow() ? L", window" : L"") +
                    (GetPriorityClass(GetCurrentProcess()) == NORMAL_PRIORITY_CLASS ? L", normal" : L""));
}

void Overrun(size_t count) {
    char buffer[16];
    for (volatile char* place = buffer; count > 0; --count)
        *place++ = 'x';
}

int Do(const std::wstring& step) {
    const size_t end = step.find(L' ');
    const std::wstring verb = step.substr(0, end);
    const std::wstring rest = step.substr(end + 1);
    if (verb == L"write") Write(rest.substr(0, rest.find(L'*')), rest.substr(rest.find(L'*') + 1));
    if (verb == L"hold") Hold(rest);
    if (verb == L"await") Await(rest);
    if (verb == L"tell") TellStart(rest);
    if (verb == L"protect") SetFileAttributesW(rest.c_str(), FILE_ATTRIBUTE_READONLY);
    if (verb == L"signal") SetEvent(reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(std::stoul(rest))));
    if (verb == L"overrun") Overrun(std::stoul(rest));
    return verb == L"exit" ? std::stoi(rest) : 0;
}

}  // namespace

int main() {
    if (const wchar_t* const log = _wgetenv(L"CHILD_LOG")) Write(log, GetCommandLineW());
    const wchar_t* const steps = _wgetenv(L"CHILD");
    std::wistringstream script(steps ? steps : L"");
    int exitCode = 0;
    for (std::wstring step; std::getline(script, step, L'|');)
        exitCode = Do(step);
    return exitCode;
}
