// See FileAtWork.h.
#include "common/FileAtWork.h"

#include <mutex>
#include <set>

#include "base/Error.h"
#include "base/FileSystem.h"
#include "base/Text.h"

namespace {

std::mutex access;
std::set<std::wstring> files;

}  // namespace

FileAtWork::FileAtWork(const std::wstring& path) : m_path(FileSystem::FullPath(path)) {
    const std::scoped_lock lock(access);
    if (!files.insert(base::Upper(m_path)).second)
        throw base::Error(E_UNEXPECTED, L"Another call is making the file " + m_path +
                                            L" at the moment. Call again when that call has returned.");
}

FileAtWork::~FileAtWork() {
    const std::scoped_lock lock(access);
    files.erase(base::Upper(m_path));
}
