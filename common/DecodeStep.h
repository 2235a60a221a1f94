// The step in which both decoders end: a program writes the packet, in the place of a previous one.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "common/Report.h"

/// Runs a command that decodes a packet into OutputFile. A previous file of that name is kept as OutputFile &
/// "_bck" until the new one is there in full, and comes back when the command fails. What lies under the name
/// when the time is over is kept as OutputFile & "_late". False when no non-empty output file was made in
/// time; every failure is reported, or thrown where it leaves files in doubt.
class DecodeStep {
public:
    /// program: as clsShell's.
    DecodeStep(std::wstring program, std::wstring command, LONG timeoutSeconds, std::wstring outputFile);

    bool Run() const;

private:
    bool MakeRoomForOutput() const;
    bool RenameToBackup() const;
    std::wstring Decode(bool& isLate) const;
    bool KeepLateOutput() const;

    std::wstring m_program;
    std::wstring m_command;
    LONG m_timeoutSeconds;
    std::wstring m_outputFile;
    std::wstring m_backup;
    std::wstring m_late;
};

/// Makes a file whose previous version, if there is one, waits as a backup. make: says why it could not;
/// empty when it could. Where it could not, or throws, what it left is removed and the previous file comes
/// back before anything is reported: the full disk that ended a program refuses the event log, too. A backup
/// that is gone then may be back in its place, and is no output: that is a failure after which all stays.
/// False after a failure.
bool MakeOutput(const Procedure& self, const std::wstring& OutputFile, const std::wstring& Backup,
                const std::function<std::wstring()>& make);
