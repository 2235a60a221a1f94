// The questions of each kind. Failures before the first one are thrown.
#pragma once

#include <string>
#include <vector>

#include "probe/FtpScratch.h"
#include "probe/Interview.h"

namespace probe {

/// What the product expects of Windows itself. To be asked in an apartment.
std::vector<Question> SystemQuestions();

/// What it expects of COM where its libraries lie beside the program, in a folder, and nothing is registered.
std::vector<Question> RegistrationQuestions(const std::wstring& folder);

/// What it expects of a disk, local or removable, or of a share. folder: an empty one, which the last
/// question deletes.
std::vector<Question> FileQuestions(const std::wstring& folder);
/// The part of a second process in them: it dies with a file that it has not finished.
[[noreturn]] void DieHolding(const std::wstring& path);

/// What it expects of WinINet and of an FTP server. The last question removes the folder there.
std::vector<Question> FtpQuestions(FtpScratch& ftp);

}  // namespace probe
