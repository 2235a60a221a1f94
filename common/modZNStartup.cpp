// See modZNStartup.h.
#include "common/modZNStartup.h"

#include <cstring>
#include <optional>
#include <vector>

#include "base/Error.h"
#include "base/Module.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "com/ErrorInfo.h"
#include "com/Result.h"
#include "com/RunningCall.h"
#include "com/Values.h"
#include "common/Apartment.h"
#include "common/Framework.h"
#include "common/Report.h"

namespace {

/// Number of the error that a request to throw again fails with when there is none to throw.
constexpr HRESULT kInvalidCall = static_cast<HRESULT>(0x800A0005);

std::wstring HostTitle() { return Path::BaseName(base::ProgramPath()); }

/// Behind the head of the resource: three words and its name, up to a multiple of four bytes.
constexpr size_t kFixedVersion = (3 * sizeof(WORD) + sizeof L"VS_VERSION_INFO" + 3) / 4 * 4;

/// Of the resource itself. What reads the versions of files is a DLL that Windows looks for in the host's
/// folder first.
VS_FIXEDFILEINFO FixedVersion() {
    const HINSTANCE module = base::ModuleHandle();
    const HRSRC place = FindResourceW(module, MAKEINTRESOURCEW(VS_VERSION_INFO), RT_VERSION);
    const HGLOBAL resource = place ? LoadResource(module, place) : nullptr;
    const auto* const data = resource ? static_cast<const BYTE*>(LockResource(resource)) : nullptr;
    if (!data) base::ThrowWin32(GetLastError(), base::ModulePath());
    VS_FIXEDFILEINFO version;
    std::memcpy(&version, data + kFixedVersion, sizeof version);
    return version;
}

std::wstring LibraryVersion() {
    const VS_FIXEDFILEINFO version = FixedVersion();
    return std::to_wstring(HIWORD(version.dwFileVersionMS)) + L"." +
           std::to_wstring(LOWORD(version.dwFileVersionMS)) + L"." +
           std::to_wstring(HIWORD(version.dwFileVersionLS));
}

void WriteToEventLog(const std::wstring& text, LONG eventType) {
    const Microsoft::WRL::ComPtr<IZNEventLog> eventLog = ThisApartment().eventLog;
    if (eventLog) {
        com::Check(eventLog->Write(com::Bstr(text).Get(), eventType), L"writing to the event log");
        return;
    }
    // Before start-up there is no log; a debugger is the only one left to tell.
    OutputDebugStringW((text + std::wstring(kCrLf)).c_str());
}

std::optional<base::Failure> CurrentError() {
    if (!com::RunningCall::HandlesFailure()) return std::nullopt;
    return base::CurrentFailure();
}

[[noreturn]] void RaiseAgain(const std::optional<base::Failure>& error, const std::wstring& description) {
    if (!error) throw base::Error(kInvalidCall, L"Invalid procedure call or argument");
    base::Failure raised = *error;
    raised.description = description;
    raised.place = {};
    throw base::Error(std::move(raised));
}

void CALLBACK ShowHelp(HELPINFO* info) {
    WinHelpW(nullptr, ThisApartment().helpFile.c_str(), HELP_CONTEXT, info->dwContextId);
}

}  // namespace

void znMain() {
    Apartment& apartment = ThisApartment();
    const std::wstring title = HostTitle();
    try {
        apartment.eventLog = CreateFrameworkObject<ZNEventLog, IZNEventLog>();
        apartment.build = LibraryVersion();
        apartment.startup = CreateFrameworkObject<ZNStartup, IZNStartup>();
        com::Check(apartment.startup->Initialize(com::Bstr(title).Get()), L"start-up service");
    } catch (...) {
        std::wstring description = Lines(L"modZNStartup::znMain", base::CurrentFailure().description);
        std::wstring source = title;
        ZNReportError(description, source, true, ZN_EVENTLOG_ERROR_TYPE);
    }
}

com::Variant StartupServiceEntry(LONG Number) {
    const com::Variant noArguments = com::Variant::Array(std::vector<com::Variant>{});
    return com::Get<com::Variant>(&IZNStartup::Entry, ThisApartment().startup.Get(), Number,
                                  noArguments.Get());
}

void ZNReportError(std::wstring& Description, std::wstring& Source, bool RaiseError, LONG EventType) {
    const std::optional<base::Failure> error = CurrentError();
    if (error && error->place.line != 0) {
        const std::wstring& build = ThisApartment().build;
        Description = Lines(Description, L"Error at line: " + std::to_wstring(error->place.line) +
                                             L" - Build: " + (build.empty() ? L"UNKNOWN" : build));
    }
    if (Source.empty()) Source = L"Unknown Source:";
    WriteToEventLog(Lines(Source + L":", Description), EventType);
    if (EventType == ZN_EVENTLOG_ERROR_TYPE && RaiseError) RaiseAgain(error, Description);
}

void ZNReportError(std::wstring Description) {
    std::wstring source;
    ZNReportError(Description, source);
}

bool UserInterfaceIsAllowed() {
    std::optional<bool>& allowed = ThisApartment().userInterfaceAllowed;
    if (allowed) return *allowed;
    try {
        const auto context = CreateFrameworkObject<ZNApplicationContext, IZNApplicationContext>();
        allowed = com::Get<bool>(&IZNApplicationContext::get_UserInterface, context.Get());
        return *allowed;
    } catch (...) {
        WriteToEventLog(L"UserInterfaceIsAllowed: Starup Error [unexpected]: " +
                            base::CurrentFailure().description + L"Source: " + HostTitle(),
                        ZN_EVENTLOG_ERROR_TYPE);
        return false;
    }
}

LONG ZNMsgBox(const std::wstring& Prompt, LONG Buttons, const std::wstring& Title,
              const std::wstring& HelpFile, LONG Context) {
    if (!UserInterfaceIsAllowed()) {
        throw base::Error(
            base::Failure{kNoUserInterface,
                          L"modZNStartup.ZNMsgBox",
                          Lines(L"Attempted to raise a messagebox and a user interface is not supported.",
                                L"Message: " + Prompt),
                          {}});
    }
    const auto locale = CreateFrameworkObject<ZNLocale, IZNLocale>();
    if (com::Get<bool>(&IZNLocale::get_RightToLeftReading, locale.Get())) Buttons |= MB_RIGHT | MB_RTLREADING;
    ThisApartment().helpFile = HelpFile;
    MSGBOXPARAMSW box{};
    box.cbSize = sizeof box;
    box.hwndOwner = GetActiveWindow();
    box.lpszText = Prompt.c_str();
    box.lpszCaption = Title.c_str();
    box.dwStyle = static_cast<DWORD>(Buttons) | (HelpFile.empty() ? 0u : MB_HELP);
    box.dwContextHelpId = static_cast<DWORD_PTR>(Context);
    box.lpfnMsgBoxCallback = HelpFile.empty() ? nullptr : &ShowHelp;
    const int button = MessageBoxIndirectW(&box);
    if (button == 0) base::ThrowWin32(GetLastError(), L"message box: " + Prompt);
    com::ClearErrorInfo();
    return button;
}
