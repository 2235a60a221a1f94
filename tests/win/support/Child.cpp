// Stands in for Zip.exe, Unzip.exe and xDelta.exe: does what the environment variable CHILD says, and writes
// its command line to the file CHILD_LOG. Steps are separated by "|":
//   sleep MILLISECONDS    write PATH*TEXT    exit CODE
#include <windows.h>

#include <fstream>
#include <sstream>
#include <string>

namespace {

std::wstring Variable(const wchar_t* name) {
    wchar_t value[4096] = L"";
    GetEnvironmentVariableW(name, value, 4096);
    return value;
}

void WriteFileAt(const std::wstring& path, const std::wstring& text) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    for (const wchar_t character : text)
        ::WriteFile(file, &character, 1, &written, nullptr);
    CloseHandle(file);
}

int Do(const std::wstring& step) {
    const size_t blank = step.find(L' ');
    const std::wstring verb = step.substr(0, blank);
    const std::wstring rest = blank == std::wstring::npos ? L"" : step.substr(blank + 1);
    if (verb == L"sleep") Sleep(std::stoul(rest));
    if (verb == L"write") WriteFileAt(rest.substr(0, rest.find(L'*')), rest.substr(rest.find(L'*') + 1));
    return verb == L"exit" ? std::stoi(rest) : 0;
}

}  // namespace

int main() {
    if (const std::wstring log = Variable(L"CHILD_LOG"); !log.empty()) WriteFileAt(log, GetCommandLineW());
    std::wistringstream script(Variable(L"CHILD"));
    int exitCode = 0;
    for (std::wstring step; std::getline(script, step, L'|');)
        exitCode = Do(step);
    return exitCode;
}
