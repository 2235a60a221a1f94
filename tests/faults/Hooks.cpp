// The DLL that counts the calls of a process to files, processes and FTP servers, and makes them fail.
#include <windows.h>
#include <wininet.h>
#include <winternl.h>

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "tests/faults/Imports.h"
#include "tests/faults/Injection.h"
#include "tests/faults/Run.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace faults {

namespace {

/// Makes a call as its fate says. failure: what the function returns when it fails. halfWork: of what can end
/// in the middle.
template <class Result, class Work, class HalfWork = void (*)()>
Result Make(
    const Call& call, Result failure, const Work& work, const HalfWork& halfWork = [] {}) {
    const Fate fate = NextFate(call);
    Result result = failure;
    if (fate.part == Part::Whole) result = work();
    if (fate.part == Part::Half) halfWork();
    if (fate.end == End::Returns) return result;
    if (fate.end == End::OfRun) EndRun();
    SetLastError(fate.error);
    return failure;
}

/// Files and folders on a disk. What a program says is no file, even where its outputs are sent to one.
bool IsFile(HANDLE handle) {
    return GetFileType(handle) == FILE_TYPE_DISK && handle != GetStdHandle(STD_OUTPUT_HANDLE) &&
           handle != GetStdHandle(STD_ERROR_HANDLE);
}

/// A function's name as the argument of a template.
template <size_t kSize>
struct Name {
    // NOLINTNEXTLINE(google-explicit-constructor)
    consteval Name(const char (&name)[kSize]) { std::copy_n(name, kSize, text); }
    char text[kSize];
};

/// A function of the system.
template <Name kName, class Type>
struct System {
    static inline Function original = nullptr;

    template <class... Arguments>
    static auto Work(Arguments... arguments) {
        return reinterpret_cast<Type>(reinterpret_cast<void*>(original))(arguments...);
    }

    template <class Replacement>
    static Hook HookOf(Replacement replacement) {
        return {kName.text, reinterpret_cast<Function>(reinterpret_cast<void*>(replacement)), &original};
    }
};

/// The paths and names among the arguments of a function describe its call.
template <class Argument>
void Describe(Call& call, const Argument& argument) {
    if constexpr (std::is_same_v<Argument, LPCWSTR>)
        if (!call.path) call.path = argument;
    if constexpr (std::is_same_v<Argument, LPCSTR>)
        if (!call.name) call.name = argument;
}

/// Of what a function wants a handle first.
enum class Of { File, Other };

/// A function that needs nothing of its own. kFailure: what it returns when it fails.
template <Name kName, class Type, Kind kKind, Of kOf = Of::Other, LONG_PTR kFailure = 0>
struct Plain;

template <Name kName, class Result, class... Arguments, Kind kKind, Of kOf, LONG_PTR kFailure>
struct Plain<kName, Result(WINAPI*)(Arguments...), kKind, kOf, kFailure> {
    using Original = System<kName, Result(WINAPI*)(Arguments...)>;

    static Result WINAPI Replacement(Arguments... arguments) {
        const auto work = [&] { return Original::Work(arguments...); };
        Call call{kName.text, kKind};
        if constexpr (kOf == Of::File) {
            call.file = FirstOf(arguments...);
            if (!IsFile(call.file)) return work();
        }
        (Describe(call, arguments), ...);
        if constexpr (std::is_pointer_v<Result>)
            return Make(call, reinterpret_cast<Result>(kFailure), work);
        else
            return Make(call, static_cast<Result>(kFailure), work);
    }

    static Hook Entry() { return Original::HookOf(&Replacement); }

private:
    template <class... Others>
    static HANDLE FirstOf(HANDLE file, Others...) {
        return file;
    }
};

// --- Functions that need something of their own ---------------------------------------------------------

constexpr LONG_PTR kInvalid = -1;
constexpr LONG_PTR kUnexpectedNetworkError = static_cast<LONG>(0xC00000C4);  // an NTSTATUS

/// Pipes, consoles and the null device are opened by the same function.
bool IsDevice(LPCWSTR path) {
    return wcsncmp(path, L"\\\\.\\", 4) == 0 || _wcsicmp(path, L"NUL") == 0 ||
           _wcsicmp(path, L"CONIN$") == 0 || _wcsicmp(path, L"CONOUT$") == 0;
}

using CreateFileSystem = System<"CreateFileW", decltype(&::CreateFileW)>;

HANDLE WINAPI HookedCreateFileW(LPCWSTR path, DWORD access, DWORD sharing, SECURITY_ATTRIBUTES* security,
                                DWORD disposition, DWORD flags, HANDLE pattern) {
    const auto work = [&] {
        return CreateFileSystem::Work(path, access, sharing, security, disposition, flags, pattern);
    };
    if (IsDevice(path)) return work();
    const bool changes = disposition != OPEN_EXISTING || (flags & FILE_FLAG_DELETE_ON_CLOSE) != 0;
    return Make({"CreateFileW", changes ? Kind::Change : Kind::Read, path}, INVALID_HANDLE_VALUE, work);
}

using WriteFileSystem = System<"WriteFile", decltype(&::WriteFile)>;

BOOL WINAPI HookedWriteFile(HANDLE file, LPCVOID data, DWORD bytes, DWORD* written, OVERLAPPED* overlapped) {
    const auto work = [&](DWORD part) {
        return WriteFileSystem::Work(file, data, part, written, overlapped);
    };
    if (!IsFile(file)) return work(bytes);
    const Call call{.function = "WriteFile", .kind = Kind::Change, .file = file};
    return Make(
        call, FALSE, [&] { return work(bytes); }, [&] { work(bytes / 2); });
}

using SetInformationSystem = System<"SetFileInformationByHandle", decltype(&::SetFileInformationByHandle)>;

/// One function that renames, removes and marks files.
const char* NameFor(FILE_INFO_BY_HANDLE_CLASS what) {
    switch (what) {
    case FileRenameInfo:
        return "SetFileInformationByHandle (name)";
    case FileDispositionInfo:
        return "SetFileInformationByHandle (removal)";
    default:
        return "SetFileInformationByHandle (attributes)";
    }
}

BOOL WINAPI HookedSetFileInformationByHandle(HANDLE file, FILE_INFO_BY_HANDLE_CLASS what, LPVOID data,
                                             DWORD bytes) {
    const Call call{.function = NameFor(what), .kind = Kind::Change, .file = file};
    return Make(call, FALSE, [&] { return SetInformationSystem::Work(file, what, data, bytes); });
}

using CreateProcessSystem = System<"CreateProcessW", decltype(&::CreateProcessW)>;

/// The calls of a child count as those of its parent.
BOOL WINAPI HookedCreateProcessW(LPCWSTR program, LPWSTR commandLine, SECURITY_ATTRIBUTES* ofProcess,
                                 SECURITY_ATTRIBUTES* ofThread, BOOL inherits, DWORD flags,
                                 LPVOID environment, LPCWSTR folder, STARTUPINFOW* startup,
                                 PROCESS_INFORMATION* process) {
    const auto work = [&] {
        if (!CreateProcessSystem::Work(program, commandLine, ofProcess, ofThread, inherits,
                                       flags | CREATE_SUSPENDED, environment, folder, startup, process))
            return FALSE;
        if (!Inject(process->hProcess, reinterpret_cast<HMODULE>(&__ImageBase)))
            InterlockedIncrement(&CurrentRun().unprotected);
        if ((flags & CREATE_SUSPENDED) == 0) ResumeThread(process->hThread);
        return TRUE;
    };
    return Make({"CreateProcessW", Kind::Change, program ? program : commandLine}, FALSE, work);
}

/// Cuts a file to half its size.
void Halve(LPCSTR path) {
    const HANDLE file =
        CreateFileA(path, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    LARGE_INTEGER size;
    if (GetFileSizeEx(file, &size)) {
        size.QuadPart /= 2;
        SetFilePointerEx(file, size, nullptr, FILE_BEGIN);
        SetEndOfFile(file);
    }
    CloseHandle(file);
}

using FtpGetSystem = System<"FtpGetFileA", decltype(&::FtpGetFileA)>;

BOOL WINAPI HookedFtpGetFileA(HINTERNET connection, LPCSTR remote, LPCSTR local, BOOL failsIfThere,
                              DWORD attributes, DWORD flags, DWORD_PTR context) {
    const auto work = [&] {
        return FtpGetSystem::Work(connection, remote, local, failsIfThere, attributes, flags, context);
    };
    const Call call{.function = "FtpGetFileA", .kind = Kind::Change, .name = remote};
    return Make(call, FALSE, work, [&] {
        work();
        Halve(local);
    });
}

using FtpPutSystem = System<"FtpPutFileA", decltype(&::FtpPutFileA)>;

BOOL WINAPI HookedFtpPutFileA(HINTERNET connection, LPCSTR local, LPCSTR remote, DWORD flags,
                              DWORD_PTR context) {
    const auto work = [&](LPCSTR path) {
        return FtpPutSystem::Work(connection, path, remote, flags, context);
    };
    const Call call{.function = "FtpPutFileA", .kind = Kind::Change, .name = remote};
    return Make(
        call, FALSE, [&] { return work(local); },
        [&] {
            char folder[MAX_PATH];
            char half[MAX_PATH];
            GetTempPathA(MAX_PATH, folder);
            GetTempFileNameA(folder, "zn", 0, half);
            CopyFileA(local, half, FALSE);
            Halve(half);
            work(half);
            DeleteFileA(half);
        });
}

using GetProcAddressSystem = System<"GetProcAddress", decltype(&::GetProcAddress)>;

FARPROC WINAPI HookedGetProcAddress(HMODULE module, LPCSTR name) {
    return ReplacementOf(GetProcAddressSystem::Work(module, name), name);
}

// --- All functions --------------------------------------------------------------------------------------

#define ZN_NAMED(function) #function, decltype(&::function)

const Hook kHooks[] = {
    CreateFileSystem::HookOf(&HookedCreateFileW),
    WriteFileSystem::HookOf(&HookedWriteFile),
    SetInformationSystem::HookOf(&HookedSetFileInformationByHandle),
    CreateProcessSystem::HookOf(&HookedCreateProcessW),
    GetProcAddressSystem::HookOf(&HookedGetProcAddress),
    Plain<ZN_NAMED(ReadFile), Kind::Read, Of::File>::Entry(),
    Plain<ZN_NAMED(LockFileEx), Kind::Read, Of::File>::Entry(),
    Plain<ZN_NAMED(FlushFileBuffers), Kind::Change, Of::File>::Entry(),
    Plain<ZN_NAMED(SetEndOfFile), Kind::Change, Of::File>::Entry(),
    Plain<ZN_NAMED(SetFileTime), Kind::Change, Of::File>::Entry(),
    Plain<ZN_NAMED(SetFilePointerEx), Kind::State, Of::File>::Entry(),
    Plain<ZN_NAMED(GetFileSizeEx), Kind::State, Of::File>::Entry(),
    Plain<ZN_NAMED(GetFileTime), Kind::State, Of::File>::Entry(),
    Plain<ZN_NAMED(GetFileInformationByHandle), Kind::State, Of::File>::Entry(),
    Plain<ZN_NAMED(GetFileInformationByHandleEx), Kind::State, Of::File>::Entry(),
    Plain<ZN_NAMED(NtQueryInformationFile), Kind::State, Of::File, kUnexpectedNetworkError>::Entry(),
    Plain<ZN_NAMED(CreateDirectoryW), Kind::Change>::Entry(),
    Plain<ZN_NAMED(RemoveDirectoryW), Kind::Change>::Entry(),
    Plain<ZN_NAMED(DeleteFileW), Kind::Change>::Entry(),
    Plain<ZN_NAMED(MoveFileExW), Kind::Change>::Entry(),
    Plain<ZN_NAMED(CreateHardLinkW), Kind::Change>::Entry(),
    Plain<ZN_NAMED(SetFileAttributesW), Kind::Change>::Entry(),
    Plain<ZN_NAMED(FindFirstFileW), Kind::Read, Of::Other, kInvalid>::Entry(),
    Plain<ZN_NAMED(FindFirstFileExW), Kind::Read, Of::Other, kInvalid>::Entry(),
    Plain<ZN_NAMED(FindNextFileW), Kind::Read>::Entry(),
    Plain<ZN_NAMED(GetFileAttributesW), Kind::State, Of::Other, kInvalid>::Entry(),
    Plain<ZN_NAMED(GetFileAttributesExW), Kind::State>::Entry(),
    Plain<ZN_NAMED(GetShortPathNameW), Kind::State>::Entry(),
    Plain<ZN_NAMED(GetDiskFreeSpaceExW), Kind::State>::Entry(),
    FtpGetSystem::HookOf(&HookedFtpGetFileA),
    FtpPutSystem::HookOf(&HookedFtpPutFileA),
    Plain<ZN_NAMED(FtpDeleteFileA), Kind::Change>::Entry(),
    Plain<ZN_NAMED(FtpRenameFileA), Kind::Change>::Entry(),
    Plain<ZN_NAMED(FtpCreateDirectoryA), Kind::Change>::Entry(),
    Plain<ZN_NAMED(FtpSetCurrentDirectoryA), Kind::Read>::Entry(),
    Plain<ZN_NAMED(FtpGetCurrentDirectoryA), Kind::Read>::Entry(),
    Plain<ZN_NAMED(FtpFindFirstFileA), Kind::Read>::Entry(),
    Plain<ZN_NAMED(FtpCommandA), Kind::Read>::Entry(),
    Plain<ZN_NAMED(InternetFindNextFileA), Kind::Read>::Entry(),
    Plain<ZN_NAMED(InternetOpenA), Kind::Read>::Entry(),
    Plain<ZN_NAMED(InternetConnectA), Kind::Read>::Entry(),
    Plain<ZN_NAMED(InternetCloseHandle), Kind::Read>::Entry(),
    Plain<ZN_NAMED(InternetSetOptionA), Kind::State>::Entry(),
    Plain<ZN_NAMED(InternetQueryOptionW), Kind::State>::Entry(),
    Plain<ZN_NAMED(InternetGetLastResponseInfoA), Kind::State>::Entry(),
    {},
};

}  // namespace

}  // namespace faults

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason != DLL_PROCESS_ATTACH) return TRUE;
    DisableThreadLibraryCalls(module);
    if (!faults::JoinRun()) return FALSE;
    faults::ReplaceImports(faults::kHooks);
    return TRUE;
}
