// Services that every component uses: start-up, folders, settings, registry and branding objects, commands.
#pragma once

#include <string>

#include "znFramework.h"

/// Runs the library's start-up in the calling apartment unless it ran already. Throws when it fails.
void Main();

/// The tool's name. Objects outlive their apartment when a thread leaves COM and enters it again: the new one
/// is started, too. Empty where that fails.
const std::wstring& ToolName();

/// Creates one folder. True when it created it; a failure is shown unless SupressMsg, and reported.
/// Throws like ZNMsgBox where it cannot be shown.
bool CreateFolder(const std::wstring& Path, bool SupressMsg);

/// Creates every missing level of an absolute path. True when all levels exist afterwards; a failure
/// is shown unless SupressMsg, and reported. Throws like ZNMsgBox where it cannot be shown.
bool CreateFolders(const std::wstring& Path, bool SupressMsg);

/// Whether a test file can be created, written, read and deleted in a folder; a failure is reported.
bool CheckReadWriteDelete(const std::wstring& Folder, bool SupressMsg);

/// A setting as text, or the default when the set does not hold it. Reports and throws a failure.
std::wstring GetProperty(IZNPropertySet* PropertySet, const std::wstring& Name, const std::wstring& Default);

/// The apartment's registry object and branding resources; created on first use. Report and throw a
/// failure.
IZNRegistry* ZNRegObject();
IZNBrandingResources* ZNBrandingResObject();

/// Runs a command line and waits for its end; the program's own success is not asked. A command that
/// exceeds its time is ended and reported, and the result is False. A program that cannot be started
/// counts as ended: look for what it should have made. Program: as clsShell's.
bool DoShellCmd(const std::wstring& Command, LONG TimeoutSeconds, bool SupressMsg,
                const std::wstring& Program = {});

/// Runs a command that decodes a packet into OutputFile, which gets the extension ".MDB" when it has
/// neither that nor ".XML". A previous file of that name is kept as OutputFile & "_bck" until the new
/// one is there in full, and comes back when the command fails. ResultFile: the final name. False when
/// no non-empty output file was made in time; every failure is reported. Program: as clsShell's.
bool CommonDecode(std::wstring& OutputFile, bool SupressMsg, const std::wstring& Command, LONG TimeoutSeconds,
                  std::wstring& ResultFile, const std::wstring& Program = {});
