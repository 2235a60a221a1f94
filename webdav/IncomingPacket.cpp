// See IncomingPacket.h.
#include "webdav/IncomingPacket.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/FileMoves.h"
#include "base/FileSystem.h"
#include "base/Path.h"
#include "base/SystemError.h"

IncomingPacket::IncomingPacket(std::wstring target, const std::wstring& part, std::function<void()> attend)
    : m_target(std::move(target)),
      m_file(base::File::OpenPersistently(part, GENERIC_READ | GENERIC_WRITE, 0, OPEN_ALWAYS)),
      m_size(m_file.Size()),
      m_attend(std::move(attend)) {
    if (m_size > 0) GoOnAt(m_size);
}

void IncomingPacket::GoOnAt(std::uint64_t offset) {
    constexpr std::uint64_t kBlock = 1 << 20;
    m_file.Truncate(offset);
    m_sum = Sha256();
    std::vector<std::uint8_t> block(static_cast<std::size_t>(std::min(offset, kBlock)));
    for (m_size = 0; m_size < offset;) {
        const std::size_t length = m_file.ReadAt(m_size, block);
        if (length == 0) throw base::SystemError(ERROR_READ_FAULT, "read", m_file.Path());
        m_sum.Add(base::Bytes(block).first(length));
        m_size += length;
        m_attend();
    }
}

void IncomingPacket::Forget() {
    if (m_size == 0) return;
    GoOnAt(0);
    m_file.Flush();
}

void IncomingPacket::Write(base::Bytes bytes) {
    m_sum.Add(bytes);
    m_file.WriteAt(m_size, bytes);
    m_size += bytes.size();
}

void IncomingPacket::TakePlace(FileSystem::RightsOfFolders& rights) {
    m_file.Flush();
    m_file.Close();
    FileSystem::MoveReplacing(m_file.Path(), m_target);
    rights.GiveTo(m_target, Path::ParentFolder(m_file.Path()));
    FileSystem::BringToDisk(m_target);
}

void IncomingPacket::Drop() {
    m_file.Close();
    FileSystem::TryDelete(m_file.Path());
}
