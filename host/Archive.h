// What becomes of an outbox file once its packet waits in the send folder.
#pragma once

#include <string>

#include "base/FolderTree.h"

/// Moves the file of the outbox into the same sub-folder of the archive, where it replaces an older one
/// of its name; deletes it when there is no archive. Throws when the file has to stay in the outbox.
void LeaveOutbox(const std::wstring& outbox, const base::TreeFile& file, const std::wstring& archive);
