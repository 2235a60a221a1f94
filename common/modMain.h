// Services that every component uses: start-up, folders, settings, registry and branding objects.
#pragma once

#include <string>

#include "com/Text.h"
#include "common/FolderLocator.h"
#include "znFramework.h"

/// Runs the library's start-up in the calling apartment unless it ran already. Throws when it fails.
void Main();

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

/// Text of a branding resource. Throws a failure.
std::wstring BrandedText(LONG Number);

/// A value of the start-up service as text. Throws a failure.
std::wstring StartupEntry(LONG Number);

/// A VARIANT that holds a collection with the identifier of one component category. Throws a failure.
com::Variant CategoryCollection(ZNCategoryCode code);

/// A command-line option of the host wins over the stored setting of the same name.
std::wstring OptionOrSetting(const std::wstring& Name, IZNRegistry* Store);
/// Form for login values: the setting is asked of the side opposite to Flag. Without an option, throws before
/// Store is open.
std::wstring OptionOrSetting(const std::wstring& Name, const FolderLocator& Store, const std::wstring& Key,
                             bool Flag);

/// Runs a command line and waits for its end; the program's own success is not asked. A command that
/// exceeds its time is ended and reported, and the result is False. A program that cannot be started
/// counts as ended: look for what it should have made.
bool DoShellCmd(const std::wstring& Command, LONG TimeoutSeconds, bool SupressMsg);

/// After a command that should have made a file failed: removes what it left, and brings the previous
/// file back from its backup, if there is one. Throws a failure.
void RestoreOutput(const std::wstring& OutputFile, const std::wstring& Backup);

/// Runs a command that decodes a packet into OutputFile, which gets the extension ".MDB" when it has
/// neither that nor ".XML". A previous file of that name is kept as OutputFile & "_bck" until the new
/// one is there in full, and comes back when the command fails. ResultFile: the final name. False when
/// no non-empty output file was made in time; every failure is reported.
bool CommonDecode(std::wstring& OutputFile, bool SupressMsg, const std::wstring& Command, LONG TimeoutSeconds,
                  std::wstring& ResultFile);

/// Lets the host process the window messages that wait for this thread.
void ProcessPendingMessages();
