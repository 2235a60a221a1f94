// See clsXDeltaEncoder.h.
#include "encoders/clsXDeltaEncoder.h"

#include "base/FileMoves.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/DecodeStep.h"
#include "common/FileAtWork.h"
#include "common/Report.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "encoders/ExternalProgram.h"
#include "packets/EncodedName.h"
#include "services/PropertySet.h"
#include "services/Registry.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr LONG kNameEntry = 110;
constexpr auto kTimeoutValue = L"XDeltaTimeout";
constexpr SHORT kDefaultTimeout = 60;  // seconds

}  // namespace

clsXDeltaEncoder::clsXDeltaEncoder()
    : Encoder(L"clsXDeltaEncoder", kNameEntry, L".axd"), m_lTimeout(kDefaultTimeout) {
    TakeDefault([&] { m_lTimeout = ReadNumber(OpenTransportKey(), kTimeoutValue, kDefaultTimeout); });
    // Not for its value: the apartment's registry object is left where a later default is looked up.
    TakeDefault([] { RegisteredProgramFolder(); });
}

// --- Settings ---------------------------------------------------------------------------------------

void clsXDeltaEncoder::XDeltaUtilLocation(const std::wstring& Folder) {
    m_sXDeltaUtilLocation.clear();
    if (Folder.empty()) return;
    const std::wstring folder = Folder.ends_with(L'\\') ? Folder : Folder + L"\\";
    if (FileSystem::FileExists(folder + L"xDelta.exe")) {
        m_sXDeltaUtilLocation = folder;
        return;
    }
    // Raises to the caller of the property: without the program nothing can be encoded.
    std::wstring text =
        Lines(Member(L"XDeltaUtilLocation").Name(), L"program " + folder + L"xDelta.exe does not exist");
    std::wstring source = ToolName();
    ZNReportError(text, source);
}

void clsXDeltaEncoder::UseReference(const std::wstring& file) {
    m_sReferencePath = file;
    m_sReferenceFolder = Path::ParentFolder(file);
}

void clsXDeltaEncoder::ReferencePath(const std::wstring& File) {
    m_sReferencePath.clear();
    if (File.empty()) return;
    if (FileSystem::FileExists(File)) return UseReference(File);
    Member(L"ReferenceFolder").Report(L"Reference file " + File + L" does not exist");
}

void clsXDeltaEncoder::IZNEncoder2_ApplicationName(const std::wstring& Name) {
    Member(L"IZNEncoder2_ApplicationName").Guard([&] {
        m_sApplicationName = Name;
        m_folderLocator.Open(Name);
    });
}

std::optional<std::wstring> clsXDeltaEncoder::TakeSettings(IZNPropertySet* Settings) {
    return Member(L"IZNEncoder2_PropSet")
        .Guard(std::optional<std::wstring>(), [&]() -> std::optional<std::wstring> {
            m_bMobile = IsMobile(Settings);
            m_sInExtension = GetProperty(Settings, L"IN_EXTENSION", L".mdb");
            m_sOutExtension = GetProperty(Settings, L"OUT_EXTENSION", L".axd");
            // The default is that of the key which the apartment's shared registry object was opened at last:
            // the component has always taken it from there.
            m_lTimeout = GetNumber(Settings, L"TIMEOUT",
                                   ReadNumberAsText(ZNRegObject(), kTimeoutValue, kDefaultTimeout));
            UseReference(GetProperty(Settings, L"REFERENCE_PATH",
                                     m_folderLocator.FolderPath(!m_bMobile, L"XDeltaRefPath")));
            return RegisteredProgramFolder();
        });
}

void clsXDeltaEncoder::IZNEncoder2_PropSet(IZNPropertySet* Settings) {
    // Outside of the handler: a program that is not there is raised to the host.
    if (const std::optional<std::wstring> folder = TakeSettings(Settings))
        XDeltaUtilLocation(GetProperty(Settings, L"XDELTA_UTIL_LOCATION", *folder));
}

ComPtr<IZNPropertySet> clsXDeltaEncoder::IZNEncoder2_PropSet() {
    return Member(L"IZNEncoder2_PropSet").Guard(ComPtr<IZNPropertySet>(), [&] {
        return NewPropertySet({{L"IN_EXTENSION", m_sInExtension},
                               {L"OUT_EXTENSION", m_sOutExtension},
                               {L"REFERENCE_PATH", m_sReferencePath},
                               {L"TIMEOUT", std::to_wstring(m_lTimeout)},
                               {L"XDELTA_UTIL_LOCATION", m_sXDeltaUtilLocation}});
    });
}

// --- Encoding and decoding --------------------------------------------------------------------------

bool clsXDeltaEncoder::ValidRegistryKeys() {
    const Procedure self = Member(L"ValidRegistryKeys");
    if (!FileSystem::FileExists(m_sReferencePath)) {
        const std::wstring what = FileSystem::FolderExists(m_sReferencePath)
                                      ? L"The XDeltaRegPath registry key is set to a folder."
                                      : L"The reference file " + m_sReferencePath + L" does not exist.";
        return self.Fail(Lines(what,
                               L"Run the Tulrec application which will set the registry key to the correct "
                               L"xDelta reference file."));
    }
    if (m_sXDeltaUtilLocation.empty()) return self.Fail(L"The xDelta location has not been set up properly.");
    return FileSystem::FileExists(ProgramPath()) ||
           self.Fail(L"XDelta.exe does not exist in specified location: " + ProgramPath());
}

bool clsXDeltaEncoder::IZNEncoder_Encode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                         const std::wstring& FileName, std::wstring& OutFile) {
    const Procedure self = Member(L"IZNEncoder_Encode");
    return self.Guard(false, [&] {
        if (!ValidRegistryKeys()) return false;
        const std::wstring source = InFolder + L"\\" + FileName;
        const std::wstring target =
            OutFolder + L"\\" + DifferenceName(FileName, Path::BaseName(m_sReferencePath)) + m_sOutExtension;
        const FileAtWork work(target);
        const std::wstring backup = target + L"_bck";
        if (FileSystem::FileIsThere(target)) FileSystem::MoveFile(target, backup);
        const std::wstring program = ProgramPath();
        const std::wstring command =
            program + L" delta " + Quoted(m_sReferencePath) + L" " + Quoted(source) + L" " + Quoted(target);
        const auto delta = [&]() -> std::wstring {
            const std::wstring failed = L"Command: " + command;
            if (!DoShellCmd(command, m_lTimeout, SupressMsg, program))
                return Lines(failed, L"Command timed out");
            return FileSystem::FileExists(target) ? L"" : Lines(failed, L"failed to create an output file");
        };
        if (!MakeOutput(self, target, backup, delta)) return false;
        OutFile = target;
        return true;
    });
}

bool clsXDeltaEncoder::IZNEncoder_Decode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                         const std::wstring& FileName, std::wstring& OutFile) {
    const Procedure self = Member(L"IZNEncoder_Decode");
    return self.Guard(false, [&] {
        if (!ValidRegistryKeys()) return false;
        const std::wstring encodedFile = InFolder + L"\\" + FileName + m_sOutExtension;
        if (!FileSystem::FileExists(encodedFile))
            return self.Fail(L"Encoded file " + encodedFile + L" does not exist.");
        const Difference difference = SplitDifferenceName(FileName);
        std::wstring output = OutFolder + L"\\" + difference.packet;
        const std::wstring reference =
            m_sReferenceFolder + L"\\" + difference.reference + kReferenceExtension;
        if (!FileSystem::FileExists(reference))
            return self.Fail(L"Xdelta reference file " + reference + L" for encoded file " + FileName +
                             L" does not exist.");
        const std::wstring program = ProgramPath();
        const std::wstring command =
            program + L" patch " + Quoted(encodedFile) + L" " + Quoted(reference) + L" " + Quoted(output);
        return CommonDecode(output, SupressMsg, command, m_lTimeout, OutFile, program);
    });
}

// --- Binary contract --------------------------------------------------------------------------------

STDMETHODIMP clsXDeltaEncoder::put_XDeltaUtilLocation(BSTR Value) {
    return com::Call([&] { XDeltaUtilLocation(com::Text(Value)); });
}
STDMETHODIMP clsXDeltaEncoder::put_ReferencePath(BSTR Value) {
    return com::Call([&] { ReferencePath(com::Text(Value)); });
}
