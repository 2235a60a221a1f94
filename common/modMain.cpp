#include "common/modMain.h"

#include <optional>
#include <vector>

#include "com/Collections.h"
#include "com/Object.h"
#include "com/Return.h"
#include "common/Apartment.h"
#include "common/FileSystem.h"
#include "common/Framework.h"
#include "common/Path.h"
#include "common/clsShell.h"
#include "common/modZNStartup.h"

namespace {

constexpr LONG kToolNumber = 145;

/// Reports the current exception after a heading and throws it again.
[[noreturn]] void ReportAndRaise(std::wstring_view heading) {
    std::wstring text = std::wstring(heading).append(kCrLf);
    text += com::CurrentFailure().description;
    std::wstring source = ThisApartment().gk_sToolName;
    ZNReportError(text, source, true, ZN_EVENTLOG_ERROR_TYPE);
    throw;  // not reached: errors of this type are always raised
}

com::Variant AskStartupService(LONG number) {
    const com::Variant noArguments = com::Variant::Array(std::vector<com::Variant>{});
    return com::Get<com::Variant>(&IZNStartup::Entry, ThisApartment().startup.Get(), number,
                                  noArguments.Get());
}

void ShowAndReport(std::wstring_view source, const std::wstring& message, bool SupressMsg) {
    if (!SupressMsg) ZNMsgBox(message, MB_ICONINFORMATION, ThisApartment().gk_sToolName);
    Report(std::wstring(source).append(kCrLf).append(message));
}

std::vector<std::wstring> Split(const std::wstring& text, wchar_t separator) {
    std::vector<std::wstring> parts;
    size_t start = 0;
    for (size_t end = text.find(separator); end != std::wstring::npos; end = text.find(separator, start)) {
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

/// The value of a command-line option of the host, when it was given.
std::optional<std::wstring> CommandLineOption(const std::wstring& name) {
    auto& commandLine = ThisApartment().commandLine;
    if (!commandLine) commandLine = com::Make<clsCmdLine>();
    return commandLine->Option(name);
}

void ReportDecode(std::wstring_view text, LONG eventType) {
    Report(std::wstring(L"modMain.CommonDecode").append(kCrLf).append(text), eventType);
}

std::wstring BackupOf(const std::wstring& file) { return file + L"_bck"; }

/// Carries out one step; a failure is reported after a heading.
template <class Step>
bool TryDecodeStep(Step&& step, const std::wstring& heading) try {
    step();
    return true;
} catch (...) {
    ReportDecode(heading + std::wstring(kCrLf) + com::CurrentFailure().description, ZN_EVENTLOG_WARNING_TYPE);
    return false;
}

bool RenameToBackup(const std::wstring& OutputFile) {
    return TryDecodeStep([&] { FileSystem::MoveFile(OutputFile, BackupOf(OutputFile)); },
                         L"Decode output file " + OutputFile +
                             L" already exists and couldn't be renamed. The file may be in use by another "
                             L"application. Please close the application and try again.");
}

/// Takes a previous output file out of the decoder's way. True when its name is free.
bool MakeRoomForOutput(const std::wstring& OutputFile) {
    const std::wstring backup = BackupOf(OutputFile);
    if (!FileSystem::FileExists(backup)) return RenameToBackup(OutputFile);
    ReportDecode(L"Decode backup output file " + backup +
                     L" already exists. Will attempt to delete the existing backup file." +
                     std::wstring(kCrLf),
                 ZN_EVENTLOG_INFORMATION_TYPE);
    if (TryDecodeStep([&] { FileSystem::DeleteFile(backup, FileSystem::ReadOnlyFiles::Delete); },
                      L"Existing decode backup file " + backup +
                          L" couldn't be deleted Will attempt to delete the existing output file instead."))
        return RenameToBackup(OutputFile);
    return TryDecodeStep([&] { FileSystem::DeleteFile(OutputFile, FileSystem::ReadOnlyFiles::Delete); },
                         L"Decode output file " + OutputFile +
                             L" already exists and couldn't be renamed or deleted. The file may be in use by "
                             L"another application. Please close the application and try again.");
}

bool FailDecode(const std::wstring& text, const std::wstring& OutputFile) {
    ReportDecode(text, ZN_EVENTLOG_ERROR_TYPE);
    RestoreOutput(OutputFile, BackupOf(OutputFile));
    return false;
}

}  // namespace

void Main() {
    Apartment& apartment = ThisApartment();
    if (apartment.started) return;
    znMain();
    IZNBrandingResources* const resources = ZNBrandingResObject();
    const com::Variant toolName = AskStartupService(kToolNumber);
    apartment.gk_sToolName = com::Get<std::wstring>(&IZNBrandingResources::Text, resources, toolName.Get());
    apartment.started = true;
}

bool CreateFolder(const std::wstring& Path, bool SupressMsg) try {
    if (Path.empty() || FileSystem::FolderExists(Path)) return false;
    FileSystem::CreateFolder(Path);
    return true;
} catch (...) {
    ShowAndReport(L"modMain.CreateFolder", L"Could not create folder " + Path, SupressMsg);
    return false;
}

bool CreateFolders(const std::wstring& Path, bool SupressMsg) try {
    if (Path.size() < 4) return false;
    const std::wstring drive = Path::Drive(Path);
    if (drive.empty()) throw com::Error(E_INVALIDARG, L"The path has no drive and no share.");
    const std::wstring rest = Path.size() > drive.size() ? Path.substr(drive.size() + 1) : std::wstring();
    std::wstring current = drive;
    for (const std::wstring& part : Split(rest, L'\\')) {
        current = Path::Join(current, part);
        if (!FileSystem::FolderExists(current) && !CreateFolder(current, SupressMsg)) return false;
    }
    return true;
} catch (...) {
    const std::wstring description = com::CurrentFailure().description;
    ShowAndReport(
        L"modMain.CreateFolders",
        std::wstring(L"Could not create folders for ").append(Path).append(kCrLf).append(description),
        SupressMsg);
    return false;
}

bool CheckReadWriteDelete(const std::wstring& Folder, bool) {
    constexpr std::wstring_view kSource = L"modMain.CheckReadWriteDelete\r\n";
    const std::wstring testFile = Folder + L"\\RWD_TestFile.txt";
    std::wstring step = L"checking if folder " + Folder + L" exists";
    try {
        if (!FileSystem::FolderExists(Folder)) {
            Report(std::wstring(kSource).append(L"Folder ").append(Folder).append(L" doesn't exist."));
            return false;
        }
        step = L"creating test file " + testFile;
        {
            auto file = FileSystem::TextFile::Create(testFile);
            step = L"writing to test file " + testFile;
            file.WriteLine("Test writing...");
        }
        step = L"opening test file " + testFile;
        {
            auto file = FileSystem::TextFile::Open(testFile);
            step = L"reading from test file " + testFile;
            file.ReadLine();
        }
        step = L"deleting test file " + testFile;
        FileSystem::DeleteFile(testFile, FileSystem::ReadOnlyFiles::Delete);
        return true;
    } catch (...) {
        Report(std::wstring(kSource)
                   .append(L"Failed read/write/delete folder test while ")
                   .append(step)
                   .append(kCrLf)
                   .append(com::CurrentFailure().description));
        return false;
    }
}

std::wstring GetProperty(IZNPropertySet* PropertySet, const std::wstring& Name,
                         const std::wstring& Default) try {
    if (!PropertySet) throw com::Error(E_POINTER, L"There is no property set to read " + Name + L" from.");
    const auto value =
        com::Get<com::Variant>(&IZNPropertySet::GetProperty, PropertySet, com::Bstr(Name).Get());
    return value.IsEmpty() ? Default : value.Text();
} catch (...) {
    ReportAndRaise(L"modMain.GetProperty");
}

IZNRegistry* ZNRegObject() try {
    auto& registry = ThisApartment().registry;
    if (!registry) registry = CreateFrameworkObject<ZNRegistry, IZNRegistry>();
    return registry.Get();
} catch (...) {
    ReportAndRaise(L"modMain.ZNRegObject: ");
}

IZNBrandingResources* ZNBrandingResObject() try {
    auto& resources = ThisApartment().brandingResources;
    if (!resources) resources = CreateFrameworkObject<ZNBrandingResources, IZNBrandingResources>();
    return resources.Get();
} catch (...) {
    ReportAndRaise(L"modMain.ZNBrandingResObject: ");
}

std::wstring BrandedText(LONG Number) {
    return com::Get<std::wstring>(&IZNBrandingResources::Text, ZNBrandingResObject(),
                                  com::Variant(Number).Get());
}

std::wstring StartupEntry(LONG Number) { return AskStartupService(Number).Text(); }

com::Variant CategoryCollection(ZNCategoryCode code) {
    const auto category = CreateFrameworkObject<ZNCategory, IZNCategory>();
    const auto categories = com::Make<com::Collection>();
    categories->Add(com::Variant(
        com::Get<std::wstring>(&IZNCategory::CategoryId, category.Get(), static_cast<LONG>(code))));
    return com::Variant::Object(static_cast<_Collection*>(categories.Get()));
}

std::wstring OptionOrSetting(const std::wstring& Name, IZNRegistry* Store) {
    if (const auto option = CommandLineOption(Name)) return *option;
    return com::Get<com::Variant>(&IZNRegistry::Read, Store, com::Bstr(Name).Get(), com::Variant(L"").Get())
        .Text();
}

std::wstring OptionOrSetting(const std::wstring& Name, const FolderLocator& Store, const std::wstring& Key,
                             bool Flag) {
    if (const auto option = CommandLineOption(Name)) return *option;
    return Store.FolderPath(!Flag, Key.c_str());
}

bool DoShellCmd(const std::wstring& Command, LONG TimeoutSeconds, bool) try {
    clsShell shell;
    shell.Command(Command);
    shell.Execute();
    if (shell.WaitProcessingMessages(TimeoutSeconds)) return true;
    Report(std::wstring(L"modMain.DoShellCmd")
               .append(kCrLf)
               .append(L"Command: ")
               .append(Command)
               .append(kCrLf)
               .append(L"timed out"));
    return false;
} catch (...) {
    return StandardHandler(L"modMain.DoShellCmd", false);
}

void RestoreOutput(const std::wstring& OutputFile, const std::wstring& Backup) {
    if (FileSystem::FileExists(OutputFile)) FileSystem::DeleteFile(OutputFile);
    if (FileSystem::FileExists(Backup)) FileSystem::MoveFile(Backup, OutputFile);
}

bool CommonDecode(std::wstring& OutputFile, bool SupressMsg, const std::wstring& Command, LONG TimeoutSeconds,
                  std::wstring& ResultFile) try {
    const std::wstring extension = com::Upper(Path::LastFour(OutputFile));
    if (extension != L".MDB" && extension != L".XML") OutputFile += L".MDB";
    ResultFile = OutputFile;
    if (FileSystem::FileExists(OutputFile) && !MakeRoomForOutput(OutputFile)) return false;
    if (!DoShellCmd(Command, TimeoutSeconds, SupressMsg))
        return FailDecode(
            std::wstring(L"Command: ").append(Command).append(kCrLf).append(L"Command timed out"),
            OutputFile);
    if (!FileSystem::FileExists(OutputFile))
        return FailDecode(L"Decoding failed for output file " + OutputFile, OutputFile);
    if (FileSystem::FileSize(OutputFile) == 0)
        return FailDecode(
            L"Output file " + OutputFile +
                L" is zero length. Check that the decoder input files are compatible with each other.",
            OutputFile);
    if (FileSystem::FileExists(BackupOf(OutputFile))) FileSystem::DeleteFile(BackupOf(OutputFile));
    return true;
} catch (...) {
    return StandardHandler(L"modMain.CommonDecode", false);
}

void ProcessPendingMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            // Not ours to swallow: the host's own message loop must see it.
            PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}
