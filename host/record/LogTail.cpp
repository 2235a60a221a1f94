// See LogTail.h.
#include "host/record/LogTail.h"

#include <vector>

#include "base/File.h"
#include "base/Text.h"
#include "base/Utf8.h"
#include "host/cycle/PacketLedger.h"

namespace {

constexpr std::size_t kMost = 16 << 10;  // bytes; the first entry is short

/// A log that is shorter by now was set aside.
std::wstring TextFrom(const std::wstring& path, std::uint64_t start) {
    const auto file = base::File::Open(path, GENERIC_READ, base::kShareAll, OPEN_EXISTING);
    std::vector<std::uint8_t> bytes(kMost);
    bytes.resize(file.ReadAt(file.Size() < start ? 0 : start, bytes));
    return base::FromUtf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

/// A line, and the text behind it.
std::wstring TakeLine(std::wstring& text) {
    const std::size_t end = text.find(L'\n');
    std::wstring line = base::OnOneLine(text.substr(0, end));
    text.erase(0, end == std::wstring::npos ? end : end + 1);
    return line;
}

/// "Packet Transporter:", "clsFTPSndRcv.cls.MoveFiles", "Error at line: 5 - Build: 1.0.0": who reports, and
/// from where.
bool IsPlace(const std::wstring& line) {
    return line.ends_with(L':') || line.starts_with(L"Error at line:") ||
           (line.find(L' ') == std::wstring::npos && line.find(L'.') != std::wstring::npos);
}

}  // namespace

LogTail::LogTail(const Settings& settings) : m_path(settings.logFile), m_start(SizeOf(m_path)) {}

std::optional<std::wstring> LogTail::FirstError() const try {
    if (m_path.empty()) return std::nullopt;
    std::wstring text = TextFrom(m_path, m_start);
    while (!text.empty() && !TakeLine(text).ends_with(L" ERROR")) {
    }
    std::wstring error;
    for (std::wstring line = TakeLine(text); !line.empty(); line = TakeLine(text))
        if (!IsPlace(line)) error += (error.empty() ? L"" : L" ") + line;
    if (error.empty()) return std::nullopt;
    return error;
} catch (const base::Error&) {
    return std::nullopt;
}
