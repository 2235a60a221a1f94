#include "encoders/clsXDeltaEncoder.h"

#include "base/FileSystem.h"
#include "base/Path.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/Apartment.h"
#include "common/DecodeStep.h"
#include "common/Framework.h"
#include "common/Report.h"
#include "encoders/ExternalProgram.h"
#include "services/PropertySet.h"
#include "services/Registry.h"

using com::Call;
using com::Return;
using com::Text;
using Microsoft::WRL::ComPtr;

namespace {

constexpr LONG kNameEntry = 110;
constexpr LONG kDefaultTimeout = 60;  // seconds

/// Of whatever key the apartment's registry object has open.
LONG RegisteredTimeout() { return ReadNumber(ZNRegObject(), L"XDeltaTimeout", kDefaultTimeout); }

}  // namespace

clsXDeltaEncoder::clsXDeltaEncoder() : Encoder(L"clsXDeltaEncoder", kNameEntry, L".axd") {
    OpenTransportKey();
    m_lTimeout = RegisteredTimeout();
    // Not for its value: the apartment's registry object is left where a later default is looked up.
    RegisteredProgramFolder();
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
        Source(L"XDeltaUtilLocation").append(kCrLf) + L"program " + folder + L"xDelta.exe does not exist";
    std::wstring source = ThisApartment().gk_sToolName;
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
    Report(Source(L"ReferenceFolder").append(kCrLf) + L"Reference file " + File + L" does not exist");
}

void clsXDeltaEncoder::IZNEncoder2_ApplicationName(const std::wstring& Name) try {
    m_sApplicationName = Name;
    m_folderLocator.Open(Name);
} catch (...) {
    ReportCurrentError(Source(L"IZNEncoder2_ApplicationName"));
}

std::optional<std::wstring> clsXDeltaEncoder::TakeSettings(IZNPropertySet* Settings) try {
    m_bMobile = IsMobile(Settings);
    m_sInExtension = GetProperty(Settings, L"IN_EXTENSION", L".mdb");
    m_sOutExtension = GetProperty(Settings, L"OUT_EXTENSION", L".axd");
    m_lTimeout = GetNumber(Settings, L"TIMEOUT", RegisteredTimeout());
    UseReference(
        GetProperty(Settings, L"REFERENCE_PATH", m_folderLocator.FolderPath(!m_bMobile, L"XDeltaRefPath")));
    return GetProperty(Settings, L"XDELTA_UTIL_LOCATION", RegisteredProgramFolder());
} catch (...) {
    return StandardHandler(Source(L"IZNEncoder2_PropSet"), std::optional<std::wstring>());
}

void clsXDeltaEncoder::IZNEncoder2_PropSet(IZNPropertySet* Settings) {
    if (const std::optional<std::wstring> folder = TakeSettings(Settings)) XDeltaUtilLocation(*folder);
}

ComPtr<IZNPropertySet> clsXDeltaEncoder::IZNEncoder2_PropSet() try {
    auto settings = CreateFrameworkObject<ZNPropertySet, IZNPropertySet>();
    SetProperty(settings.Get(), L"IN_EXTENSION", m_sInExtension);
    SetProperty(settings.Get(), L"OUT_EXTENSION", m_sOutExtension);
    SetProperty(settings.Get(), L"REFERENCE_PATH", m_sReferencePath);
    SetProperty(settings.Get(), L"TIMEOUT", std::to_wstring(m_lTimeout));
    SetProperty(settings.Get(), L"XDELTA_UTIL_LOCATION", m_sXDeltaUtilLocation);
    return settings;
} catch (...) {
    return StandardHandler(Source(L"IZNEncoder2_PropSet"), ComPtr<IZNPropertySet>());
}

// --- Encoding and decoding --------------------------------------------------------------------------

bool clsXDeltaEncoder::Refuse(const wchar_t* member, const std::wstring& why) const {
    Report(Source(member).append(kCrLf) + why);
    return false;
}

bool clsXDeltaEncoder::ValidRegistryKeys() {
    constexpr auto kMember = L"ValidRegistryKeys";
    if (!FileSystem::FileExists(m_sReferencePath)) {
        const std::wstring what = FileSystem::FolderExists(m_sReferencePath)
                                      ? L"The XDeltaRegPath registry key is set to a folder."
                                      : L"The reference file " + m_sReferencePath + L" does not exist.";
        return Refuse(kMember, what +
                                   L"\r\nRun the Tulrec application which will set the registry key to the "
                                   L"correct xDelta reference file.");
    }
    if (m_sXDeltaUtilLocation.empty())
        return Refuse(kMember, L"The xDelta location has not been set up properly.");
    const std::wstring program = m_sXDeltaUtilLocation + L"xDelta.exe";
    if (!FileSystem::FileExists(program))
        return Refuse(kMember, L"XDelta.exe does not exist in specified location: " + program);
    return true;
}

bool clsXDeltaEncoder::IZNEncoder_Encode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                         const std::wstring& FileName, std::wstring& OutFile) try {
    if (!ValidRegistryKeys()) return false;
    const std::wstring source = InFolder + L"\\" + FileName;
    const std::wstring target =
        OutFolder + L"\\" + FileName + L"~" + Path::BaseName(m_sReferencePath) + m_sOutExtension;
    const std::wstring backup = target + L"_bck";
    if (FileSystem::FileExists(target)) FileSystem::MoveFile(target, backup);
    const std::wstring command = m_sXDeltaUtilLocation + L"xDelta.exe delta " + Quoted(m_sReferencePath) +
                                 L" " + Quoted(source) + L" " + Quoted(target);
    if (!DoShellCmd(command, m_lTimeout, SupressMsg))
        return FailEncode(command, L"Command timed out", target, backup);
    if (!FileSystem::FileExists(target))
        return FailEncode(command, L"failed to create an output file", target, backup);
    OutFile = target;
    return true;
} catch (...) {
    return StandardHandler(Source(L"IZNEncoder_Encode"), false);
}

bool clsXDeltaEncoder::FailEncode(const std::wstring& command, const wchar_t* why, const std::wstring& target,
                                  const std::wstring& backup) const {
    Refuse(L"IZNEncoder_Encode", L"Command: " + command + std::wstring(kCrLf) + why);
    RestoreOutput(target, backup);
    return false;
}

/// At the last "~". A name without one is taken as its first character and a reference of the whole name;
/// installations in the field rely on what that leads to.
clsXDeltaEncoder::EncodedName clsXDeltaEncoder::Split(const std::wstring& FileName) {
    const size_t tilde = FileName.rfind(L'~');
    if (tilde == std::wstring::npos) return {FileName.substr(0, 1), FileName};
    return {FileName.substr(0, tilde), FileName.substr(tilde + 1)};
}

bool clsXDeltaEncoder::IZNEncoder_Decode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                         const std::wstring& FileName, std::wstring& OutFile) try {
    constexpr auto kMember = L"IZNEncoder_Decode";
    if (!ValidRegistryKeys()) return false;
    const std::wstring encodedFile = InFolder + L"\\" + FileName + m_sOutExtension;
    if (!FileSystem::FileExists(encodedFile))
        return Refuse(kMember, L"Encoded file " + encodedFile + L" does not exist.");
    const EncodedName name = Split(FileName);
    std::wstring output = OutFolder + L"\\" + name.packet;
    const std::wstring reference = m_sReferenceFolder + L"\\" + name.reference + L".AXR";
    if (!FileSystem::FileExists(reference))
        return Refuse(kMember, L"Xdelta reference file " + reference + L" for encoded file " + FileName +
                                   L" does not exist.");
    const std::wstring command = m_sXDeltaUtilLocation + L"xDelta.exe patch " + Quoted(encodedFile) + L" " +
                                 Quoted(reference) + L" " + Quoted(output);
    return CommonDecode(output, SupressMsg, command, m_lTimeout, OutFile);
} catch (...) {
    return StandardHandler(Source(L"IZNEncoder_Decode"), false);
}

// --- Binary contract --------------------------------------------------------------------------------

STDMETHODIMP clsXDeltaEncoder::get_XDeltaUtilLocation(BSTR* Value) {
    return Return(Value, [&] { return m_sXDeltaUtilLocation; });
}
STDMETHODIMP clsXDeltaEncoder::put_XDeltaUtilLocation(BSTR Value) {
    return Call([&] { XDeltaUtilLocation(Text(Value)); });
}
STDMETHODIMP clsXDeltaEncoder::get_ReferencePath(BSTR* Value) {
    return Return(Value, [&] { return m_sReferencePath; });
}
STDMETHODIMP clsXDeltaEncoder::put_ReferencePath(BSTR Value) {
    return Call([&] { ReferencePath(Text(Value)); });
}
STDMETHODIMP clsXDeltaEncoder::get_Timeout(LONG* Value) {
    return Return(Value, [&] { return m_lTimeout; });
}
STDMETHODIMP clsXDeltaEncoder::put_Timeout(LONG Value) {
    m_lTimeout = Value;
    return S_OK;
}
