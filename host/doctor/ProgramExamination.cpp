// Companion programs, the reference files, and the libraries.
#include <windows.h>

#include <map>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/FolderTree.h"
#include "base/Handle.h"
#include "base/Module.h"
#include "base/Path.h"
#include "base/SystemError.h"
#include "base/Text.h"
#include "com/ComApartment.h"
#include "com/RegisteredServer.h"
#include "host/console/Table.h"
#include "host/cycle/AwaitedForms.h"
#include "host/cycle/KeptBackups.h"
#include "host/cycle/References.h"
#include "host/cycle/WaitingPackets.h"
#include "host/doctor/Examination.h"
#include "host/session/Components.h"
#include "host/settings/SideFolders.h"
#include "znFramework.h"
#include "znTransporter.h"

namespace {

/// Ends a program before it does anything. What may not run here, or is damaged, does not get so far.
DWORD StartFailure(const std::wstring& program) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program.c_str(), nullptr, nullptr, nullptr, FALSE,
                        CREATE_SUSPENDED | CREATE_NO_WINDOW, nullptr, nullptr, &startup, &started))
        return GetLastError();
    const base::KernelHandle process(started.hProcess);
    const base::KernelHandle thread(started.hThread);
    TerminateProcess(process.Get(), 0);
    return ERROR_SUCCESS;
}

Finding ExamineProgram(const std::wstring& folder, const wchar_t* name, const wchar_t* use) {
    const std::wstring path = Path::Join(folder, name);
    const std::wstring without = std::wstring(L": without it ") + use + L".";
    if (!FileSystem::FileExists(path))
        return Bad(L"program", path + L" is missing", L"Copy it there" + without);
    if (const DWORD error = StartFailure(path))
        return Bad(L"program", path + L" cannot be started: " + base::SystemText(error),
                   L"Unpack it again, and let the protection of this computer allow it" + without);
    return Good(L"program", path + L" is there");
}

Finding ExamineReference(const Settings& settings) {
    const std::wstring& path = settings.xdelta.referencePath;
    if (path.empty())
        return Good(L"reference", L"the registry names the reference file; it was not examined");
    if (FileSystem::FileExists(path)) return Good(L"reference", path + L" is there");
    return Bad(L"reference", path + L" is missing",
               L"Put the reference file there that the other side has under the same name.");
}

/// Of older differences, which outlive a change of the settings.
void ExamineOtherReferences(const Settings& settings, Findings& findings) try {
    std::map<std::wstring, std::size_t> missing;  // how many files need each
    const auto add = [&](const std::vector<base::TreeFile>& files) {
        for (const base::TreeFile& file : files)
            if (const std::wstring path = MissingReference(file.name, settings); !path.empty())
                ++missing[path];
    };
    add(OfferedFiles(settings));
    add(ReceivedFiles(settings));
    add(AwaitingFiles(settings));
    add(base::FilesBelow(BackupFolder(settings)));
    add(base::FilesBelow(kKeptBackups.Path(settings)));
    for (const auto& [path, count] : missing)
        if (!base::EqualsIgnoringCase(path, settings.xdelta.referencePath))
            findings.push_back(Bad(L"reference",
                                   path + L" is missing: " + Counted(count, L"file") +
                                       L" among what waits and the backups cannot be decoded without it",
                                   L"Get it from the other side, under the same name."));
} catch (const base::Error&) {
    // The examinations of the folders and of the remote side tell of that.
    return;
}

Finding ExamineLibraries(const Settings& settings) try {
    const ComApartment apartment;
    ConfigureFramework(settings);
    CreateComponent<clsTransporter, IZNTransporter>(L"znTransporter.clsTransporter");
    const std::wstring failure = AssembliesFailure();
    return Good(L"libraries",
                failure.empty()
                    ? L"the libraries beside znhost.exe are used, without registration"
                    : L"the registered libraries are used; those beside znhost.exe cannot be: " + failure);
} catch (const base::Error& error) {
    return Bad(L"libraries", error.failure().description,
               L"Unpack the whole product again, of one version and bitness.");
}

/// A class of each library, registered with all of its others.
struct Library {
    const wchar_t* name;
    const CLSID& ofClass;
};
constexpr Library kLibraries[] = {{L"znTransporter.dll", __uuidof(clsTransporter)},
                                  {L"znFramework.dll", __uuidof(ZNApplicationContext)}};

/// One for the user wins over that for the machine, and no installer takes it back.
void ExamineRegistration(const Library& library, Findings& findings) {
    const std::wstring user = com::RegisteredServer(HKEY_CURRENT_USER, library.ofClass);
    const std::wstring machine = com::RegisteredServer(HKEY_LOCAL_MACHINE, library.ofClass);
    const bool isHidden = !machine.empty() && !base::EqualsIgnoringCase(user, machine);
    const bool isMissing = !FileSystem::FileExists(user);
    if (user.empty() || !(isMissing || isHidden)) return;
    findings.push_back(
        Bad(L"libraries",
            std::wstring(library.name) + L" is registered for this user as " + user +
                (isMissing ? L", which is missing" : L", for the machine as " + machine),
            L"Take the former back, which other hosts of this user get: regsvr32 /u /n /i:user \"" +
                Path::Join(Path::ParentFolder(base::ProgramPath()), library.name) + L"\""));
}

}  // namespace

void ExaminePrograms(const Settings& settings, Findings& findings) {
    const std::wstring& zip = settings.zip.programFolder;
    const std::wstring& xdelta = settings.xdelta.programFolder;
    if (settings.encoder == EncoderKind::Zip)
        findings.push_back(ExamineProgram(zip, L"Zip.exe", L"packets cannot be compressed"));
    findings.push_back(ExamineProgram(zip, L"Unzip.exe", L"compressed packets cannot be restored"));
    const bool usesDifferences =
        settings.encoder == EncoderKind::XDelta || !settings.xdelta.referencePath.empty();
    if (usesDifferences) {
        findings.push_back(
            ExamineProgram(xdelta, L"xDelta.exe", L"differences can be neither made nor applied"));
        findings.push_back(ExamineReference(settings));
        ExamineOtherReferences(settings, findings);
    }
    findings.push_back(ExamineLibraries(settings));
    for (const Library& library : kLibraries)
        ExamineRegistration(library, findings);
}
