// The step in which both decoders end: a program writes the packet, in the place of a previous one.
#pragma once

#include <windows.h>

#include <string>

/// Runs a command that decodes a packet into OutputFile. A previous file of that name is kept as OutputFile &
/// "_bck" until the new one is there in full, and comes back when the command fails. False when no non-empty
/// output file was made in time; every failure is reported, or thrown where it leaves files in doubt.
class DecodeStep {
public:
    DecodeStep(std::wstring command, LONG timeoutSeconds, std::wstring outputFile);

    bool Run() const;

private:
    bool MakeRoomForOutput() const;
    bool RenameToBackup() const;
    bool Fail(std::wstring_view text) const;

    std::wstring m_command;
    LONG m_timeoutSeconds;
    std::wstring m_outputFile;
    std::wstring m_backup;
};

/// After a command that should have made a file failed: removes what it left, and brings the previous
/// file back from its backup, if there is one. Throws a failure.
void RestoreOutput(const std::wstring& OutputFile, const std::wstring& Backup);
