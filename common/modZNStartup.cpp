#include "common/modZNStartup.h"

#include <winver.h>

#include <exception>
#include <optional>
#include <vector>

#include "com/Module.h"
#include "com/Return.h"
#include "common/Apartment.h"
#include "common/Framework.h"
#include "common/Path.h"

namespace {

/// Number of the error that a request to throw again fails with when there is none to throw.
constexpr HRESULT kInvalidCall = static_cast<HRESULT>(0x800A0005);

std::wstring HostTitle() {
    std::vector<wchar_t> path(32768);
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    return Path::BaseName({path.data(), length});
}

std::wstring LibraryVersion() {
    const std::wstring path = com::ModulePath();
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
    std::vector<BYTE> data(size);
    VS_FIXEDFILEINFO* version = nullptr;
    UINT length = 0;
    if (size == 0 || !GetFileVersionInfoW(path.c_str(), 0, size, data.data()) ||
        !VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&version), &length))
        com::ThrowWin32(GetLastError(), path);
    return std::to_wstring(HIWORD(version->dwFileVersionMS)) + L"." +
           std::to_wstring(LOWORD(version->dwFileVersionMS)) + L"." +
           std::to_wstring(HIWORD(version->dwFileVersionLS));
}

void WriteToEventLog(const std::wstring& text, LONG eventType) {
    const auto& eventLog = ThisApartment().eventLog;
    if (eventLog) {
        com::Check(eventLog->Write(com::Bstr(text).Get(), eventType), L"writing to the event log");
        return;
    }
    // Before start-up there is no log; a debugger is the only one left to tell.
    OutputDebugStringW((text + std::wstring(kCrLf)).c_str());
}

std::optional<com::Failure> CurrentError() {
    if (!std::current_exception()) return std::nullopt;
    return com::CurrentFailure();
}

[[noreturn]] void RaiseAgain(const std::optional<com::Failure>& error, const std::wstring& description) {
    if (!error) throw com::Error(kInvalidCall, L"Invalid procedure call or argument");
    com::Failure raised = *error;
    raised.description = description;
    throw com::Error(std::move(raised));
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
        std::wstring description = std::wstring(L"modZNStartup::znMain").append(kCrLf);
        description += com::CurrentFailure().description;
        std::wstring source = title;
        ZNReportError(description, source, true, ZN_EVENTLOG_ERROR_TYPE);
    }
}

void ZNReportError(std::wstring& Description, std::wstring& Source, bool RaiseError, LONG EventType) {
    const std::optional<com::Failure> error = CurrentError();
    if (error && error->line != 0) {
        const std::wstring& build = ThisApartment().build;
        Description.append(kCrLf).append(L"Error at line: ").append(std::to_wstring(error->line));
        Description.append(L" - Build: ").append(build.empty() ? L"UNKNOWN" : build);
    }
    if (Source.empty()) Source = L"Unknown Source:";
    WriteToEventLog(std::wstring(Source).append(L":").append(kCrLf).append(Description), EventType);
    if (EventType == ZN_EVENTLOG_ERROR_TYPE && RaiseError) RaiseAgain(error, Description);
}

void ZNReportError(std::wstring Description) {
    std::wstring source;
    ZNReportError(Description, source);
}

void Report(std::wstring text, LONG eventType) {
    std::wstring source = ThisApartment().gk_sToolName;
    ZNReportError(text, source, false, eventType);
}

void ReportCurrentError(std::wstring_view source) {
    Report(std::wstring(source).append(kCrLf).append(com::CurrentFailure().description));
}

bool UserInterfaceIsAllowed() {
    Apartment& apartment = ThisApartment();
    if (apartment.userInterfaceKnown) return apartment.userInterfaceAllowed;
    try {
        const auto context = CreateFrameworkObject<ZNApplicationContext, IZNApplicationContext>();
        apartment.userInterfaceAllowed =
            com::Get<bool>(&IZNApplicationContext::get_UserInterface, context.Get());
        apartment.userInterfaceKnown = true;
        return apartment.userInterfaceAllowed;
    } catch (...) {
        WriteToEventLog(L"UserInterfaceIsAllowed: Starup Error [unexpected]: " +
                            com::CurrentFailure().description + L"Source: " + HostTitle(),
                        ZN_EVENTLOG_ERROR_TYPE);
        return false;
    }
}

LONG ZNMsgBox(const std::wstring& Prompt, LONG Buttons, const std::wstring& Title,
              const std::wstring& HelpFile, LONG Context) {
    if (!UserInterfaceIsAllowed()) {
        com::Failure refusal{-1, L"modZNStartup.ZNMsgBox", {}, 0};
        refusal.description.append(L"Attempted to raise a messagebox and a user interface is not supported.")
            .append(kCrLf)
            .append(L"Message: ")
            .append(Prompt);
        throw com::Error(std::move(refusal));
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
    if (button == 0) com::ThrowWin32(GetLastError(), L"message box: " + Prompt);
    return button;
}
