// See DecodeStep.h.
#include "common/DecodeStep.h"

#include "base/FileSystem.h"
#include "base/SystemError.h"
#include "common/Report.h"
#include "common/modMain.h"

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
    Self().Report(Lines(std::move(heading), base::CurrentFailure().description), ZN_EVENTLOG_WARNING_TYPE);
    return false;
}

}  // namespace

DecodeStep::DecodeStep(std::wstring command, LONG timeoutSeconds, std::wstring outputFile)
    : m_command(std::move(command)),
      m_timeoutSeconds(timeoutSeconds),
      m_outputFile(std::move(outputFile)),
      m_backup(m_outputFile + L"_bck") {}

bool DecodeStep::Run() const {
    if (FileSystem::FileExists(m_outputFile) && !MakeRoomForOutput()) return false;
    if (!DoShellCmd(m_command, m_timeoutSeconds, true))
        return Fail(Lines(L"Command: " + m_command, L"Command timed out"));
    if (!FileSystem::FileExists(m_outputFile))
        return Fail(L"Decoding failed for output file " + m_outputFile);
    if (FileSystem::FileSize(m_outputFile) == 0)
        return Fail(L"Output file " + m_outputFile +
                    L" is zero length. Check that the decoder input files are compatible with each other.");
    if (FileSystem::FileExists(m_backup)) FileSystem::DeleteFile(m_backup);
    return true;
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

bool DecodeStep::Fail(std::wstring_view text) const {
    Self().Report(text);
    RestoreOutput(m_outputFile, m_backup);
    return false;
}

void RestoreOutput(const std::wstring& OutputFile, const std::wstring& Backup) {
    if (FileSystem::FileExists(OutputFile)) FileSystem::DeleteFile(OutputFile);
    if (FileSystem::FileExists(Backup)) FileSystem::MoveFile(Backup, OutputFile);
}
