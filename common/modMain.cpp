// See modMain.h.
#include "common/modMain.h"

#include <array>
#include <cstdint>
#include <vector>

#include "base/File.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/RollBack.h"
#include "base/SystemError.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/Apartment.h"
#include "common/DecodeStep.h"
#include "common/Framework.h"
#include "common/Report.h"
#include "common/clsShell.h"
#include "common/modZNStartup.h"
#include "packets/EncodedName.h"
#include "packets/PacketName.h"

namespace {

constexpr LONG kToolNumber = 145;

/// Reports the current exception after a heading and throws it again.
[[noreturn]] void ReportAndRaise(std::wstring heading) {
    std::wstring text = Lines(std::move(heading), base::CurrentFailure().description);
    std::wstring source = ThisApartment().gk_sToolName;
    ZNReportError(text, source, true, ZN_EVENTLOG_ERROR_TYPE);
    throw;  // not reached: errors of this type are always raised
}

void ShowAndReport(const Procedure& self, const std::wstring& message, bool SupressMsg) {
    if (!SupressMsg) ZNMsgBox(message, MB_ICONINFORMATION, ToolName());
    self.Report(message);
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

/// Writes a test file, reads it and deletes it; step: what is being done, for the report of a failure.
void TestFolder(const std::wstring& testFile, std::wstring& step) {
    step = L"creating test file " + testFile;
    auto written = base::File::Open(testFile, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
    // One that stayed would travel as a packet.
    base::RollBack removal([&] {
        written.Close();
        FileSystem::TryDelete(testFile);
    });
    step = L"writing to test file " + testFile;
    written.Write("Test writing...\r\n");
    written.Close();
    step = L"opening test file " + testFile;
    {
        const auto file =
            base::File::OpenPersistently(testFile, GENERIC_READ, base::kShareAll, OPEN_EXISTING);
        step = L"reading from test file " + testFile;
        std::array<std::uint8_t, 64> line;
        file.Read(line);
    }
    step = L"deleting test file " + testFile;
    FileSystem::DeleteFile(testFile, FileSystem::ReadOnlyFiles::Delete);
    removal.Dismiss();
}

/// An object that the apartment keeps; created on first use. A failure is reported under the procedure.
template <class Class, class Interface>
Interface* FrameworkObject(Microsoft::WRL::ComPtr<Interface>& kept, const wchar_t* procedure) try {
    if (!kept) kept = CreateFrameworkObject<Class, Interface>();
    return kept.Get();
} catch (...) {
    ReportAndRaise(procedure);
}

}  // namespace

void Main() {
    Apartment& apartment = ThisApartment();
    if (apartment.started) return;
    znMain();
    IZNBrandingResources* const resources = ZNBrandingResObject();
    const com::Variant toolName = StartupServiceEntry(kToolNumber);
    apartment.gk_sToolName = com::Get<std::wstring>(&IZNBrandingResources::Text, resources, toolName.Get());
    apartment.started = true;
}

const std::wstring& ToolName() {
    Quietly(&Main);
    return ThisApartment().gk_sToolName;
}

bool CreateFolder(const std::wstring& Path, bool SupressMsg) {
    const Procedure self(L"modMain.CreateFolder");
    try {
        if (Path.empty() || FileSystem::FolderExists(Path)) return false;
        FileSystem::CreateFolder(Path);
        return true;
    } catch (...) {
        // Somebody else may just have made it.
        if (!FileSystem::FolderExists(Path))
            ShowAndReport(self, L"Could not create folder " + Path, SupressMsg);
        return false;
    }
}

bool CreateFolders(const std::wstring& Path, bool SupressMsg) {
    const Procedure self(L"modMain.CreateFolders");
    try {
        if (Path.size() < 4) return false;
        const std::wstring drive = Path::Drive(Path);
        if (drive.empty()) throw base::Error(E_INVALIDARG, L"The path has no drive and no share.");
        const std::wstring rest = Path.size() > drive.size() ? Path.substr(drive.size() + 1) : std::wstring();
        std::wstring current = drive;
        for (const std::wstring& part : Split(rest, L'\\')) {
            current = Path::Join(current, part);
            if (!FileSystem::FolderExists(current) && !CreateFolder(current, SupressMsg) &&
                !FileSystem::FolderExists(current))
                return false;
        }
        return true;
    } catch (...) {
        const std::wstring description = base::CurrentFailure().description;
        ShowAndReport(self, Lines(L"Could not create folders for " + Path, description), SupressMsg);
        return false;
    }
}

bool CheckReadWriteDelete(const std::wstring& Folder, bool) {
    const Procedure self(L"modMain.CheckReadWriteDelete");
    std::wstring step = L"checking if folder " + Folder + L" exists";
    try {
        if (!FileSystem::FolderExists(Folder)) return self.Fail(L"Folder " + Folder + L" doesn't exist.");
        TestFolder(Folder + L"\\" + std::wstring(kFolderTestFile), step);
        return true;
    } catch (...) {
        return self.Fail(
            Lines(L"Failed read/write/delete folder test while " + step, base::CurrentFailure().description));
    }
}

std::wstring GetProperty(IZNPropertySet* PropertySet, const std::wstring& Name,
                         const std::wstring& Default) try {
    if (!PropertySet) throw base::Error(E_POINTER, L"There is no property set to read " + Name + L" from.");
    const auto value =
        com::Get<com::Variant>(&IZNPropertySet::GetProperty, PropertySet, com::Bstr(Name).Get());
    return value.IsEmpty() ? Default : value.Text();
} catch (...) {
    ReportAndRaise(L"modMain.GetProperty");
}

IZNRegistry* ZNRegObject() {
    return FrameworkObject<ZNRegistry>(ThisApartment().registry, L"modMain.ZNRegObject: ");
}

IZNBrandingResources* ZNBrandingResObject() {
    return FrameworkObject<ZNBrandingResources>(ThisApartment().brandingResources,
                                                L"modMain.ZNBrandingResObject: ");
}

bool DoShellCmd(const std::wstring& Command, LONG TimeoutSeconds, bool, const std::wstring& Program) {
    const Procedure self(L"modMain.DoShellCmd");
    return self.Guard(false, [&] {
        clsShell shell;
        shell.Command(Command);
        shell.Program(Program);
        shell.Execute();
        return shell.WaitProcessingMessages(TimeoutSeconds) ||
               self.Fail(Lines(L"Command: " + Command, L"timed out"));
    });
}

bool CommonDecode(std::wstring& OutputFile, bool, const std::wstring& Command, LONG TimeoutSeconds,
                  std::wstring& ResultFile, const std::wstring& Program) {
    return Procedure(L"modMain.CommonDecode").Guard(false, [&] {
        if (!IsDecodedUnderItsName(OutputFile)) OutputFile += L".MDB";
        ResultFile = OutputFile;
        return DecodeStep(Program, Command, TimeoutSeconds, OutputFile).Run();
    });
}
