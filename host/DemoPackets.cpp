#include "host/DemoPackets.h"

#include <algorithm>
#include <cstdint>
#include <random>

#include "com/Error.h"
#include "host/Files.h"

namespace {

constexpr std::uint64_t kDatabaseSize = 64ull << 20;

void WriteBinary(const std::wstring& path, std::uint64_t size, unsigned seed) {
    const Files::FileHandle file = Files::Open(path, GENERIC_WRITE, CREATE_NEW);
    std::mt19937_64 random(seed);
    std::vector<std::uint64_t> block((1 << 20) / sizeof(std::uint64_t));
    for (std::uint64_t left = size; left > 0;) {
        std::ranges::generate(block, [&] { return random(); });
        const auto part =
            static_cast<DWORD>(std::min<std::uint64_t>(left, block.size() * sizeof(std::uint64_t)));
        DWORD written = 0;
        if (!WriteFile(file.get(), block.data(), part, &written, nullptr))
            com::ThrowWin32(GetLastError(), path);
        left -= part;
    }
}

std::string XmlText(unsigned seed) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<packet number=\"" + std::to_string(seed) +
           "\">Größe 5 µm, Zürich, Łódź, 東京, Αθήνα</packet>\n";
}

}  // namespace

std::vector<std::wstring> WriteDemoPackets(const std::wstring& outbox, const std::wstring& otherInbox,
                                           unsigned seed) {
    const auto path = [&](const wchar_t* name) { return Files::Join(outbox, name); };
    WriteBinary(path(L"survey.mdb"), kDatabaseSize, seed);
    Files::WriteNew(path(L"Größen.xml"), XmlText(seed));
    Files::WriteNew(path(L"empty.mdb"), "");
    WriteBinary(path(L"work order 17.mdb"), 300'000, seed + 1);
    WriteBinary(path(L"4711~2.mdb"), 12'345, seed + 2);
    Files::CreateFolders(path(L"district 5"));
    WriteBinary(path(L"district 5\\poles.mdb"), 70'001, seed + 3);
    Files::WriteNew(Files::Join(otherInbox, L"settings.xml"), "<settings version=\"older\"/>\n");
    Files::WriteNew(path(L"settings.xml"), "<settings version=\"" + std::to_string(seed) + "\"/>\n");
    return {L"survey.mdb",        L"Größen.xml", L"empty.mdb",
            L"work order 17.mdb", L"4711~2.mdb", L"district 5\\poles.mdb",
            L"settings.xml"};
}
