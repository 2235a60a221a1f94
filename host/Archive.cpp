#include "host/Archive.h"

void LeaveOutbox(const std::wstring& outbox, const Files::Entry& file, const std::wstring& archive) {
    const std::wstring source = Files::Join(outbox, file.Relative());
    if (archive.empty()) return Files::Delete(source);
    const std::wstring folder = Files::Join(archive, file.subFolder);
    Files::CreateFolders(folder);
    Files::MoveReplacing(source, Files::Join(folder, file.name));
}
