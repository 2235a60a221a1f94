#include "encoders/clsZipEncoder.h"

#include "base/FileSystem.h"
#include "com/Result.h"
#include "com/Values.h"
#include "common/Framework.h"
#include "common/Report.h"
#include "common/clsShell.h"
#include "encoders/ExternalProgram.h"
#include "services/PropertySet.h"
#include "services/Registry.h"

using com::Call;
using com::Return;
using com::Text;
using Microsoft::WRL::ComPtr;

namespace {

constexpr LONG kNameEntry = 140;
constexpr LONG kDefaultTimeout = 60;         // seconds
constexpr int kLongestWaitForWorkFile = 10;  // seconds

LONG RegisteredTimeout() { return ReadNumber(OpenTransportKey(), L"ZipTimeout", kDefaultTimeout); }

std::wstring EnvironmentVariable(const wchar_t* name) {
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

/// Waits for a file to appear, and returns how many seconds that took.
int AwaitFile(const std::wstring& path) {
    int seconds = 0;
    for (; seconds < kLongestWaitForWorkFile && !FileSystem::FileExists(path); ++seconds)
        Sleep(1000);
    return seconds;
}

}  // namespace

clsZipEncoder::clsZipEncoder()
    : Encoder(L"clsZipEncoder", kNameEntry, L".afz"),
      m_lZipTimeout(RegisteredTimeout()),
      m_sZipUtilLocation(RegisteredProgramFolder()) {}

void clsZipEncoder::IZNEncoder2_PropSet(IZNPropertySet* Settings) {
    m_lCompressionLevel = GetNumber(Settings, L"COMPRESSION_LEVEL", 0);
    m_sInExtension = GetProperty(Settings, L"IN_EXTENSION", L".mdb");
    m_sOutExtension = GetProperty(Settings, L"OUT_EXTENSION", L".afz");
    m_lZipTimeout = GetNumber(Settings, L"TIMEOUT", RegisteredTimeout());
    m_sZipUtilLocation = GetProperty(Settings, L"ZIP_UTIL_LOCATION", RegisteredProgramFolder());
}

ComPtr<IZNPropertySet> clsZipEncoder::IZNEncoder2_PropSet() try {
    auto settings = CreateFrameworkObject<ZNPropertySet, IZNPropertySet>();
    SetProperty(settings.Get(), L"COMPRESSION_LEVEL", std::to_wstring(m_lCompressionLevel));
    SetProperty(settings.Get(), L"IN_EXTENSION", m_sInExtension);
    SetProperty(settings.Get(), L"OUT_EXTENSION", m_sOutExtension);
    SetProperty(settings.Get(), L"TIMEOUT", std::to_wstring(m_lZipTimeout));
    SetProperty(settings.Get(), L"ZIP_UTIL_LOCATION", m_sZipUtilLocation);
    return settings;
} catch (...) {
    return StandardHandler(Source(L"IZNEncoder2_PropSet"), ComPtr<IZNPropertySet>());
}

std::wstring clsZipEncoder::ProgramPath(const wchar_t* Program) const {
    return m_sZipUtilLocation + L"\\" + Program;
}

/// The report is made once: a missing program would otherwise be reported for each packet.
bool clsZipEncoder::ProgramExists(const wchar_t* Program) {
    const std::wstring path = ProgramPath(Program);
    if (FileSystem::FileExists(path)) return true;
    if (!m_missingProgramReported)
        Report(Source(L"ProgramExists").append(kCrLf) + L"program " + path + L" does not exist");
    m_missingProgramReported = true;
    return false;
}

// --- Encoding ---------------------------------------------------------------------------------------

std::wstring clsZipEncoder::ZipCommand(const std::wstring& workFile, const std::wstring& source) const {
    const bool hasLevel = m_lCompressionLevel >= 1 && m_lCompressionLevel <= 9;
    const std::wstring level = hasLevel ? L" -" + std::to_wstring(m_lCompressionLevel) : std::wstring();
    return ProgramPath(L"Zip.exe") + level + L" -jo " + Quoted(workFile) + L" " + Quoted(source);
}

/// A zip program that exceeds its time is left running: it may be close to its end.
bool clsZipEncoder::Zip(const std::wstring& source, const std::wstring& workFile) const {
    clsShell shell;
    shell.Command(ZipCommand(workFile, source));
    shell.Execute();
    if (shell.WaitProcessingMessages(m_lZipTimeout)) return true;
    shell.Detach();
    Report(Source(L"IZNEncoder_Encode").append(kCrLf) + L"Zip program timed out for " + source);
    return false;
}

/// A zip program that has ended but not written its file yet has something wrong with it: any wait for
/// the file fails the encoding, because this report raises where no error is current.
void clsZipEncoder::ReportLateWorkFile(const std::wstring& workFile, int seconds) const {
    // The tail looks like arguments of the report, but hosts match on the text as it always was.
    ZNReportError(Source(L"IZNEncoder_Encode").append(kCrLf) + L"It took " + std::to_wstring(seconds) +
                  L" seconds waiting for the zip output file " + workFile +
                  L" to be written., gk_sToolName, False, ZN_EVENTLOG_WARNING_TYPE");
}

bool clsZipEncoder::IZNEncoder_Encode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                      const std::wstring& FileName, std::wstring& OutFile) try {
    if (!ProgramExists(L"Zip.exe")) return false;
    const std::wstring source = InFolder + L"\\" + FileName;
    const std::wstring target = OutFolder + L"\\" + FileName + m_sOutExtension;
    const std::wstring workFile = EnvironmentVariable(L"TEMP") + L"\\" + FileName + m_sOutExtension;
    // What an earlier failure left must not travel as this packet.
    if (FileSystem::FileExists(workFile)) FileSystem::DeleteFile(workFile);
    if (!Zip(source, workFile)) return false;
    const int seconds = AwaitFile(workFile);
    if (seconds > 0) ReportLateWorkFile(workFile, seconds);
    if (seconds == kLongestWaitForWorkFile) {  // only where that report did not raise
        Report(Source(L"IZNEncoder_Encode").append(kCrLf) + L"Zip program timed out for output file " +
               target);
        return false;
    }
    FileSystem::MoveFile(workFile, target);
    if (!FileSystem::FileExists(target)) {
        Report(Source(L"IZNEncoder_Encode").append(kCrLf) + L"Zip output file " + target +
               L" was not created.");
        return false;
    }
    OutFile = target;
    return true;
} catch (...) {
    return StandardHandler(Source(L"IZNEncoder_Encode"), false);
}

// --- Decoding ---------------------------------------------------------------------------------------

bool clsZipEncoder::IZNEncoder_Decode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                      const std::wstring& FileName, std::wstring& OutFile) try {
    if (!ProgramExists(L"Unzip.exe")) return false;
    OutFile = FileName;
    const std::wstring encodedFile = InFolder + L"\\" + FileName + m_sOutExtension;
    std::wstring output = OutFolder + L"\\" + OutFile;
    const std::wstring command =
        ProgramPath(L"Unzip.exe") + L" -oj " + Quoted(encodedFile) + L" -d " + Quoted(OutFolder);
    return CommonDecode(output, SupressMsg, command, m_lZipTimeout, OutFile);
} catch (...) {
    return StandardHandler(Source(L"IZNEncoder_Decode"), false);
}

// --- Binary contract --------------------------------------------------------------------------------

STDMETHODIMP clsZipEncoder::get_ZipUtilLocation(BSTR* Value) {
    return Return(Value, [&] { return m_sZipUtilLocation; });
}
STDMETHODIMP clsZipEncoder::put_ZipUtilLocation(BSTR Value) {
    return Call([&] { m_sZipUtilLocation = Text(Value); });
}
STDMETHODIMP clsZipEncoder::get_CompressionLevel(LONG* Value) {
    return Return(Value, [&] { return m_lCompressionLevel; });
}
STDMETHODIMP clsZipEncoder::put_CompressionLevel(LONG Value) {
    m_lCompressionLevel = Value;
    return S_OK;
}
STDMETHODIMP clsZipEncoder::get_ZipTimeout(LONG* Value) {
    return Return(Value, [&] { return m_lZipTimeout; });
}
STDMETHODIMP clsZipEncoder::put_ZipTimeout(LONG Value) {
    m_lZipTimeout = Value;
    return S_OK;
}
