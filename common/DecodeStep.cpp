// See DecodeStep.h.
#include "common/DecodeStep.h"

#include <exception>

#include "base/FileMoves.h"
#include "base/FileSystem.h"
#include "base/ShortNames.h"
#include "base/SystemError.h"
#include "base/Undo.h"
#include "common/FileAtWork.h"
#include "common/modMain.h"
#include "packets/PacketName.h"

using FileSystem::ReadOnlyFiles;

namespace {

/// The step reports under the name of the procedure that carries it out.
const Procedure& Self() {
    static const Procedure self(L"modMain.CommonDecode");
    return self;
}

/// Carries out an action on a file; a failure is reported after a heading.
template <class Action>
bool Try(Action&& action, std::wstring heading) try {
    action();
    return true;
} catch (...) {
    const std::wstring text = Lines(std::move(heading), base::CurrentFailure().description);
    // A warning, but the reason for a step that may fail.
    HeardReports::Hear(text);
    Self().Report(text, ZN_EVENTLOG_WARNING_TYPE);
    return false;
}

void RestoreOutput(const std::wstring& output, const std::wstring& backup) {
    if (FileSystem::FileIsThere(output)) FileSystem::DeleteFile(output);
    if (FileSystem::FileIsThere(backup)) FileSystem::MoveFile(backup, output);
}

std::wstring WhatIsLeft(const std::wstring& output, const std::wstring& backup) {
    if (!FileSystem::FileExists(backup)) return output + L" may hold a part of the file; delete it.";
    return L"The previous content of " + output + L" is in " + backup +
           L". Close what uses these files, then rename that one back.";
}

}  // namespace

DecodeStep::DecodeStep(std::wstring program, std::wstring command, LONG timeoutSeconds,
                       std::wstring outputFile)
    : m_program(std::move(program)),
      m_command(std::move(command)),
      m_timeoutSeconds(timeoutSeconds),
      m_outputFile(std::move(outputFile)),
      m_backup(m_outputFile + L"_bck"),
      m_late(m_outputFile + kLateOutput) {}

bool DecodeStep::Run() const {
    const FileAtWork work(m_outputFile);
    if (FileSystem::FileIsThere(m_outputFile)) {
        FileSystem::RefuseShortName(m_outputFile);
        if (!MakeRoomForOutput()) return false;
    }
    // A file of the name is the program's output from here on.
    bool isLate = false;
    const bool isMade = MakeOutput(Self(), m_outputFile, m_backup, [&] { return Decode(isLate); });
    if (isLate)
        Self().Report(L"While its decoder exceeded its time, a file appeared as " + m_outputFile +
                          L": a part of the packet, or what somebody has saved. It is in " + m_late +
                          L" now.",
                      ZN_EVENTLOG_WARNING_TYPE);
    if (!isMade) return false;
    if (FileSystem::FileExists(m_backup)) FileSystem::DeleteFile(m_backup);
    return true;
}

/// Says why there is no output; empty when there is.
std::wstring DecodeStep::Decode(bool& isLate) const {
    if (!DoShellCmd(m_command, m_timeoutSeconds, true, m_program)) {
        isLate = KeepLateOutput();
        return Lines(L"Command: " + m_command, L"Command timed out");
    }
    if (!FileSystem::FileExists(m_outputFile)) return L"Decoding failed for output file " + m_outputFile;
    if (FileSystem::FileSize(m_outputFile) == 0)
        return L"Output file " + m_outputFile +
               L" is zero length. Check that the decoder input files are compatible with each other.";
    return {};
}

/// Takes what is to be removed next out of the way. One such file is kept, and not another one with each
/// attempt: decoders that write under the output's name leave a part each time.
bool DecodeStep::KeepLateOutput() const try {
    const auto version = FileSystem::VersionOf(m_outputFile);
    if (!version || version->size == 0) return false;
    FileSystem::MoveFile(m_outputFile, m_late);
    return true;
} catch (const base::Error&) {
    return false;
}

/// Takes a previous output file out of the decoder's way. True when its name is free.
bool DecodeStep::MakeRoomForOutput() const {
    if (!FileSystem::FileExists(m_backup)) return RenameToBackup();
    Self().Report(Lines(L"Decode backup output file " + m_backup +
                            L" already exists. Will attempt to delete the existing backup file.",
                        L""),
                  ZN_EVENTLOG_INFORMATION_TYPE);
    if (Try([&] { FileSystem::DeleteFile(m_backup, ReadOnlyFiles::Delete); },
            L"Existing decode backup file " + m_backup +
                L" couldn't be deleted Will attempt to delete the existing output file instead."))
        return RenameToBackup();
    return Try([&] { FileSystem::DeleteFile(m_outputFile, ReadOnlyFiles::Delete); },
               L"Decode output file " + m_outputFile +
                   L" already exists and couldn't be renamed or deleted. The file may be in use by "
                   L"another application. Please close the application and try again.");
}

bool DecodeStep::RenameToBackup() const {
    return Try([&] { FileSystem::MoveFile(m_outputFile, m_backup); },
               L"Decode output file " + m_outputFile +
                   L" already exists and couldn't be renamed. The file may be in use by another "
                   L"application. Please close the application and try again.");
}

bool MakeOutput(const Procedure& self, const std::wstring& OutputFile, const std::wstring& Backup,
                const std::function<std::wstring()>& make) {
    const bool replaces = FileSystem::FileIsThere(Backup);
    const auto isTakenAway = [&] { return replaces && !FileSystem::FileIsThere(Backup); };
    const auto restore = [&] {
        if (!isTakenAway()) RestoreOutput(OutputFile, Backup);
    };
    const std::wstring left = WhatIsLeft(OutputFile, Backup);
    std::wstring why = base::DoOrUndo(make, restore, left);
    if (why.empty() && isTakenAway())
        why = L"The previous file " + Backup + L" was taken away while " + OutputFile +
              L" was being made. What has that name now stays.";
    if (why.empty()) return true;
    // Reported outside of a handler: the report is about the step, not about its undoing.
    std::exception_ptr notRestored;
    try {
        base::Undo(restore, left);
    } catch (...) {
        notRestored = std::current_exception();
    }
    self.Report(why);
    if (notRestored) std::rethrow_exception(notRestored);
    return false;
}
