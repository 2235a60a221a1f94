// What the library keeps for each apartment, that is for each thread that uses it.
#pragma once

#include <wrl/client.h>

#include <optional>
#include <string>

#include "cmdline/clsCmdLine.h"
#include "znFramework.h"

class HeardReports;

struct Apartment {
    std::wstring gk_sToolName;  ///< title of message boxes and source of log entries; set by start-up
    std::wstring build;         ///< "major.minor.revision"; empty until znMain ran
    bool started = false;

    Microsoft::WRL::ComPtr<IZNEventLog> eventLog;
    Microsoft::WRL::ComPtr<IZNStartup> startup;
    Microsoft::WRL::ComPtr<IZNRegistry> registry;
    Microsoft::WRL::ComPtr<IZNBrandingResources> brandingResources;
    Microsoft::WRL::ComPtr<clsCmdLine> commandLine;

    std::optional<bool> userInterfaceAllowed;  ///< nothing until the host has told
    std::wstring helpFile;                     ///< of the message box that is on screen

    HeardReports* heardReports = nullptr;  ///< the innermost that hears; null for none
};

/// The calling thread's apartment. It is released before the thread's last CoUninitialize takes
/// effect, while the objects that it holds can still be called.
Apartment& ThisApartment();

/// Releases the calling thread's apartment; false when other threads still have one.
bool ReleaseThisApartment();
