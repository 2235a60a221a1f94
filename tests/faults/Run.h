// A run of programs under faults: what its processes share, and what becomes of each of their calls.
#pragma once

#include <windows.h>

namespace faults {

/// What a call has to do with files. What only asks for their state is a kind of its own: there are many.
enum class Kind { State, Read, Change };

/// How much of its work a call does, and what its caller sees of it.
enum class Part { None, Half, Whole };
enum class End { Returns, Fails, OfRun };

struct Fate {
    Part part = Part::Whole;
    End end = End::Returns;
    DWORD error = ERROR_SUCCESS;  ///< with which it fails
};

/// In memory that all processes of a run share.
struct Shared {
    Fate planned;
    LONG number;      ///< of the call that is planned for; 0 for none
    LONG last;        ///< of the calls that share its fate
    BOOL withStates;  ///< whether calls are counted that only ask for states
    BOOL all;         ///< whether all calls are logged, or those alone that were planned for
    volatile LONG calls;
    volatile LONG ended;        ///< whether a call ended the run
    volatile LONG unprotected;  ///< processes that calls could not be counted in
    wchar_t log[MAX_PATH];      ///< file to which calls are appended; empty for none
};

/// The variable of the environment that names the memory, and the job that all processes of the run are in.
inline constexpr const wchar_t* kRunVariable = L"ZN_FAULTS_RUN";
inline constexpr const wchar_t* kJobEnding = L"-job";
inline constexpr UINT kEndedCode = 93;

/// A call that is about to be made, with the file that it is about, as far as that is known.
struct Call {
    const char* function;
    Kind kind;
    const wchar_t* path = nullptr;
    HANDLE file = nullptr;
    const char* name = nullptr;  ///< on a server
};

/// Joins the run that the environment names. False where there is none.
bool JoinRun();
Shared& CurrentRun();

/// Counts a call, and tells what is to become of it. Leaves the thread's last error.
Fate NextFate(const Call& call);

/// Ends all processes of the run, this one with them.
[[noreturn]] void EndRun();

}  // namespace faults
