// See clsZipEncoder.h.
#include "encoders/clsZipEncoder.h"

#include <utility>

#include "base/Environment.h"
#include "base/FileMoves.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/Rights.h"
#include "common/FileAtWork.h"
#include "common/Report.h"
#include "common/clsShell.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "encoders/ExternalProgram.h"
#include "encoders/OverduePrograms.h"
#include "services/PropertySet.h"
#include "services/Registry.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr LONG kNameEntry = 140;
constexpr auto kTimeoutValue = L"ZipTimeout";
constexpr SHORT kDefaultTimeout = 60;        // seconds
constexpr int kLongestWaitForWorkFile = 10;  // seconds

/// Waits for a file to appear, and returns how many seconds that took.
int AwaitFile(const std::wstring& path) {
    int seconds = 0;
    for (; seconds < kLongestWaitForWorkFile && !FileSystem::FileExists(path); ++seconds)
        Sleep(1000);
    return seconds;
}

}  // namespace

clsZipEncoder::clsZipEncoder()
    : Encoder(L"clsZipEncoder", kNameEntry, L".afz"), m_lZipTimeout(kDefaultTimeout) {
    TakeDefault([&] { m_lZipTimeout = ReadNumber(OpenTransportKey(), kTimeoutValue, kDefaultTimeout); });
    TakeDefault([&] { m_sZipUtilLocation = RegisteredProgramFolder(); });
}

void clsZipEncoder::IZNEncoder2_PropSet(IZNPropertySet* Settings) {
    m_lCompressionLevel = GetNumber(Settings, L"COMPRESSION_LEVEL", L"0");
    m_sInExtension = GetProperty(Settings, L"IN_EXTENSION", L".mdb");
    m_sOutExtension = GetProperty(Settings, L"OUT_EXTENSION", L".afz");
    m_lZipTimeout =
        GetNumber(Settings, L"TIMEOUT", ReadNumberAsText(OpenTransportKey(), kTimeoutValue, kDefaultTimeout));
    m_sZipUtilLocation = GetProperty(Settings, L"ZIP_UTIL_LOCATION", RegisteredProgramFolder());
}

ComPtr<IZNPropertySet> clsZipEncoder::IZNEncoder2_PropSet() {
    return Member(L"IZNEncoder2_PropSet").Guard(ComPtr<IZNPropertySet>(), [&] {
        return NewPropertySet({{L"COMPRESSION_LEVEL", std::to_wstring(m_lCompressionLevel)},
                               {L"IN_EXTENSION", m_sInExtension},
                               {L"OUT_EXTENSION", m_sOutExtension},
                               {L"TIMEOUT", std::to_wstring(m_lZipTimeout)},
                               {L"ZIP_UTIL_LOCATION", m_sZipUtilLocation}});
    });
}

std::wstring clsZipEncoder::ProgramPath(const wchar_t* Program) const {
    return m_sZipUtilLocation + L"\\" + Program;
}

/// The report is made once: a missing program would otherwise be reported for each packet.
bool clsZipEncoder::ProgramExists(const wchar_t* Program) {
    const std::wstring path = ProgramPath(Program);
    if (FileSystem::FileExists(path)) return true;
    const std::wstring text = L"program " + path + L" does not exist";
    if (std::exchange(m_missingProgramReported, true))
        HeardReports::Hear(text);
    else
        Member(L"ProgramExists").Report(text);
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
    shell.Program(ProgramPath(L"Zip.exe"));
    shell.Command(ZipCommand(workFile, source));
    shell.Execute();
    if (shell.WaitProcessingMessages(m_lZipTimeout)) return true;
    OverduePrograms::Add(workFile, shell.Detach());
    return false;
}

/// A zip program that has ended but not written its file yet has something wrong with it: any wait for
/// the file fails the encoding, because this report raises where no error is current.
void clsZipEncoder::ReportLateWorkFile(const Procedure& encode, const std::wstring& workFile, int seconds) {
    // The tail looks like arguments of the report, but hosts match on the text as it always was.
    const std::wstring text = L"It took " + std::to_wstring(seconds) +
                              L" seconds waiting for the zip output file " + workFile +
                              L" to be written., gk_sToolName, False, ZN_EVENTLOG_WARNING_TYPE";
    HeardReports::Hear(text);
    ZNReportError(Lines(encode.Name(), text));
}

bool clsZipEncoder::IZNEncoder_Encode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                      const std::wstring& FileName, std::wstring& OutFile) {
    const Procedure self = Member(L"IZNEncoder_Encode");
    return self.Guard(false, [&] {
        if (!ProgramExists(L"Zip.exe")) return false;
        const std::wstring source = InFolder + L"\\" + FileName;
        if (m_sOutExtension.empty())
            return self.Fail(source +
                             L" was not encoded: OutExtension is empty, and an archive needs another "
                             L"name than its packet.");
        const std::wstring target = OutFolder + L"\\" + FileName + m_sOutExtension;
        const std::wstring workFile = base::EnvironmentVariable(L"TEMP") + L"\\" + FileName + m_sOutExtension;
        const FileAtWork work(workFile);
        if (!OverduePrograms::Await(workFile, m_lZipTimeout))
            return self.Fail(L"A zip program that has exceeded its time still runs, and may write " +
                             workFile + L". Until it ends, nothing else becomes that file: " + source +
                             L" was not encoded.");
        // What an earlier failure left must not travel as this packet.
        if (FileSystem::FileIsThere(workFile)) FileSystem::DeleteFile(workFile);
        if (!Zip(source, workFile)) return self.Fail(L"Zip program timed out for " + source);
        const int seconds = AwaitFile(workFile);
        if (seconds > 0) ReportLateWorkFile(self, workFile, seconds);
        if (seconds == kLongestWaitForWorkFile)  // only where that report did not raise
            return self.Fail(L"Zip program timed out for output file " + target);
        FileSystem::MoveFile(workFile, target);
        FileSystem::RightsOfFolders().GiveTo(target, Path::ParentFolder(workFile));
        if (!FileSystem::FileExists(target))
            return self.Fail(L"Zip output file " + target + L" was not created.");
        OutFile = target;
        return true;
    });
}

// --- Decoding ---------------------------------------------------------------------------------------

bool clsZipEncoder::IZNEncoder_Decode(const std::wstring& InFolder, const std::wstring& OutFolder,
                                      const std::wstring& FileName, std::wstring& OutFile) {
    return Member(L"IZNEncoder_Decode").Guard(false, [&] {
        if (!ProgramExists(L"Unzip.exe")) return false;
        OutFile = FileName;
        const std::wstring encodedFile = InFolder + L"\\" + FileName + m_sOutExtension;
        std::wstring output = OutFolder + L"\\" + OutFile;
        const std::wstring program = ProgramPath(L"Unzip.exe");
        const std::wstring command = program + L" -oj " + Quoted(encodedFile) + L" -d " + Quoted(OutFolder);
        return CommonDecode(output, SupressMsg, command, m_lZipTimeout, OutFile, program);
    });
}
