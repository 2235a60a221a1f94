// Companion programs, the reference files, and the libraries.
#include <windows.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>

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
#include "host/session/Session.h"
#include "host/settings/SideFolders.h"
#include "packets/EncodedName.h"
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

/// Those of which packets are still made here, or may be.
std::vector<base::TreeFile> DifferencesHere(const Settings& settings) try {
    std::vector<base::TreeFile> differences;
    const auto add = [&](const std::vector<base::TreeFile>& files) {
        std::ranges::copy_if(files, std::back_inserter(differences), [&](const base::TreeFile& file) {
            return IsTakenForEncoded(file.name, settings.xdelta.outExtension);
        });
    };
    add(OfferedFiles(settings));
    add(ReceivedFiles(settings));
    add(AwaitingFiles(settings));
    add(base::FilesBelow(BackupFolder(settings)));
    add(base::FilesBelow(kKeptBackups.Path(settings)));
    return differences;
} catch (const base::Error&) {
    // The examinations of the folders and of the remote side tell of that.
    return {};
}

/// Nothing where the encoder cannot be asked: that of the libraries tells of that.
std::optional<std::wstring> FindReference(const Settings& settings) try {
    if (!settings.xdelta.referencePath.empty()) return settings.xdelta.referencePath;
    const ComApartment apartment;
    ConfigureFramework(settings);
    return ReferenceInUse(settings);
} catch (const base::Error&) {
    return std::nullopt;
}

Finding ExamineReference(const Settings& settings) {
    const std::wstring& path = settings.xdelta.referencePath;
    constexpr auto kAdvice = L"Put the reference file there that the other side has under the same name.";
    if (path.empty())
        return Bad(L"reference",
                   L"no reference file is named: neither by [xdelta] reference_path nor by the registry",
                   std::wstring(kAdvice) + L" Name it by [xdelta] reference_path.");
    if (!FileSystem::FileExists(path)) return Bad(L"reference", path + L" is missing", kAdvice);
    if (settings.encoder == EncoderKind::XDelta && !CanBeReference(Path::FileName(path)))
        return Bad(L"reference", path + L" has a name by which the other side would find none",
                   L"On both sides it must end in .AXR and hold no ~: rename it, or name another one by "
                   L"[xdelta] reference_path.");
    return Good(L"reference", path + L" is there");
}

/// Of older differences, which outlive a change of the settings.
void ExamineOtherReferences(const std::vector<base::TreeFile>& differences, const Settings& settings,
                            Findings& findings) {
    std::map<std::wstring, std::size_t> missing;  // how many files need each
    for (const base::TreeFile& file : differences)
        if (const std::wstring path = MissingReference(file.name, settings); !path.empty()) ++missing[path];
    for (const auto& [path, count] : missing)
        if (!base::EqualsIgnoringCase(path, settings.xdelta.referencePath))
            findings.push_back(Bad(L"reference",
                                   path + L" is missing: " + Counted(count, L"file") +
                                       L" among what waits and the backups cannot be decoded without it",
                                   L"Get it from the other side, under the same name."));
}

void ExamineDifferences(Settings settings, Findings& findings) {
    const std::vector<base::TreeFile> differences = DifferencesHere(settings);
    if (settings.encoder != EncoderKind::XDelta && settings.xdelta.referencePath.empty() &&
        differences.empty())
        return;
    const Finding program = ExamineProgram(settings.xdelta.programFolder, L"xDelta.exe",
                                           L"differences can be neither made nor applied");
    findings.push_back(program);
    if (!program.isGood && settings.xdelta.referencePath.empty()) return;
    const std::optional<std::wstring> reference = FindReference(settings);
    if (!reference) return;
    settings.xdelta.referencePath = *reference;
    findings.push_back(ExamineReference(settings));
    ExamineOtherReferences(differences, settings, findings);
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
    if (settings.encoder == EncoderKind::Zip)
        findings.push_back(ExamineProgram(zip, L"Zip.exe", L"packets cannot be compressed"));
    findings.push_back(ExamineProgram(zip, L"Unzip.exe", L"compressed packets cannot be restored"));
    ExamineDifferences(settings, findings);
    findings.push_back(ExamineLibraries(settings));
    for (const Library& library : kLibraries)
        ExamineRegistration(library, findings);
}
